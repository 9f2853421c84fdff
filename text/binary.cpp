#include "binary.h"

#include <array>
#include <string_view>

namespace zutext {

namespace {

struct Format {
    size_t offset;
    std::string_view start;
    const char *what;
};

using namespace std::string_view_literals;

// Formats that share their names' endings with subtitles or lie beside them, and the ones that people have most.
constexpr Format kFormats[] = {
    {0, "\x00\x00\x01\xBA"sv, "an MPEG program stream, as VobSub subtitles (.sub) are"},
    {0, "\x00\x00\x01\xB3"sv, "an MPEG video stream"},
    {0, "PG\x00"sv, "a Blu-ray subtitle stream (.sup)"},
    {0, "PG\x01"sv, "a Blu-ray subtitle stream (.sup)"},
    {0, "SP\x00"sv, "a DVD subtitle stream (.sup)"},
    {0, "\x1A\x45\xDF\xA3"sv, "a Matroska or WebM file"},
    {4, "ftyp"sv, "an MP4 file"},
    {0, "RIFF"sv, "a RIFF file, such as AVI or WAV"},
    {0, "OggS"sv, "an Ogg file"},
    {0, "fLaC"sv, "a FLAC file"},
    {0, "ID3\x02"sv, "an MP3 file"},
    {0, "ID3\x03"sv, "an MP3 file"},
    {0, "ID3\x04"sv, "an MP3 file"},
    {0, "\x89PNG\r\n"sv, "a PNG image"},
    {0, "\xFF\xD8\xFF"sv, "a JPEG image"},
    {0, "GIF87a"sv, "a GIF image"},
    {0, "GIF89a"sv, "a GIF image"},
    {0, "BM\x00"sv, "a bitmap image"},
    {0, "II*\x00"sv, "a TIFF image"},
    {0, "MM\x00*"sv, "a TIFF image"},
    {0,
     "\x7F"
     "ELF"sv,
     "a program (ELF)"},
    {0, "MZ\x90\x00"sv, "a program (Windows)"},
    {0, "PK\x03\x04"sv, "a zip archive or a document made of one"},
    {0, "Rar!\x1A\x07"sv, "a rar archive"},
    {0, "7z\xBC\xAF\x27\x1C"sv, "a 7z archive"},
    {0, "\x1F\x8B\x08"sv, "gzip data"},
    {0, "BZh9"sv, "bzip2 data"},
    {0,
     "\xFD"
     "7zXZ\x00"sv,
     "xz data"},
    {0, "\x28\xB5\x2F\xFD"sv, "zstd data"},
    {257, "ustar"sv, "a tar archive"},
    {0, "%PDF-"sv, "a PDF document"},
    {0, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv, "an old Office document"},
    {0, "SQLite format 3\x00"sv, "an SQLite database"},
    {0, "\x00\x01\x00\x00\x00"sv, "a TrueType font"},
    {0, "OTTO\x00"sv, "an OpenType font"},
    {0, "wOF2"sv, "a web font"},
    {0,
     "\x00"
     "asm"sv,
     "a WebAssembly module"},
};

bool matches(Bytes start, const Format &format) {
    return start.size() >= format.offset + format.start.size() &&
           std::memcmp(start.data() + format.offset, format.start.data(), format.start.size()) == 0;
}

// Tab, line ends and other movements of the carriage, the escape and shifts of 7-bit encodings, the old end of file.
constexpr bool isTextControl(uint8_t byte) { return (byte >= 0x08 && byte <= 0x0F) || byte == 0x1A || byte == 0x1B; }

// Counts the bytes of a kind, in blocks short enough for sums in bytes: of a whole block, whose length it knows, a
// compiler takes many bytes at a time.
template <class IsKind> size_t countBytes(Bytes text, IsKind isKind) {
    constexpr size_t kBlock = 128;
    const auto countIn = [isKind](const uint8_t *bytes, size_t length) {
        uint8_t sum = 0;
        for (size_t i = 0; i < length; i++) {
            sum = static_cast<uint8_t>(sum + (isKind(bytes[i]) ? 1 : 0));
        }
        return size_t{sum};
    };
    size_t count = 0;
    for (; text.size() >= kBlock; text = text.subspan(kBlock)) {
        count += countIn(text.data(), kBlock);
    }
    return count + countIn(text.data(), text.size());
}

} // namespace

const char *formatOf(Bytes start) {
    const auto *found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                     [start](const Format &each) { return matches(start, each); });
    return found == std::end(kFormats) ? nullptr : found->what;
}

ByteShares countShares(Bytes text) {
    size_t filled = text.size();
    while (filled > 0 && text[filled - 1] == 0) {
        --filled;
    }
    const Bytes bytes = text.first(filled);
    return {
        countBytes(bytes, [](uint8_t byte) { return byte == 0; }),
        countBytes(bytes, [](uint8_t byte) { return byte < 0x20 && byte != 0 && !isTextControl(byte); }),
        countHighBytes(bytes),
        filled,
    };
}

size_t countHighBytes(Bytes text) {
    return countBytes(text, [](uint8_t byte) { return byte >= 0x80; });
}

bool hasStrayControl(Bytes text) {
    return countBytes(text, [](uint8_t byte) { return byte < 0x20 && (byte < 0x09 || byte > 0x0D); }) > 0;
}

bool isBinary(const ByteShares &shares) {
    // A few strays happen in real files, damaged on a disk or by an editor; data that is no text has them everywhere.
    constexpr size_t kOneIn = 50;
    return shares.total == 0 || (shares.zeros + shares.controls) * kOneIn > shares.total + kOneIn;
}

} // namespace zutext
