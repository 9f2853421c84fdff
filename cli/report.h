#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zucli {

// A file name or other foreign bytes for people: what is not printable UTF-8 becomes \xHH, so that a name cannot
// control the terminal.
std::string printable(std::string_view text);

// A file name as one word of a shell's command line.
std::string shellWord(std::string_view name);

// Bytes in hexadecimal with spaces between them.
std::string hexBytes(std::string_view bytes);

// Prints to standard output; a failure is a CommandError with kExitOutput.
void printOut(std::string_view text);

// Prints "zucharset: message" on standard error.
void printMessage(std::string_view message);

// "1 file", "2 files".
std::string counted(uint64_t count, std::string_view singular, std::string_view plural);

// Builds one JSON document. Values are added in order; the writer sets commas and quotes.
class JsonWriter {
  public:
    // `key` is empty inside an array and for the outermost value.
    void beginObject(std::string_view key = {});
    void endObject();
    void beginArray(std::string_view key = {});
    void endArray();
    void string(std::string_view key, std::string_view value);
    void number(std::string_view key, int64_t value);
    void hundredths(std::string_view key, int32_t value); // 425 as 4.25
    void boolean(std::string_view key, bool value);
    void null(std::string_view key);

    // A file name under `key`. JSON holds only Unicode, so a name that is not UTF-8 gets U+FFFD for its stray bytes
    // and the exact bytes in Base64 under the key with "Base64" behind it.
    void fileName(std::string_view key, std::string_view name);

    // Strings under one key.
    void strings(std::string_view key, const std::vector<std::string> &values);

    [[nodiscard]] const std::string &text() const { return m_text; }

  private:
    void start(std::string_view key);
    void quoted(std::string_view value);

    std::string m_text;
    bool m_first = true;
};

} // namespace zucli
