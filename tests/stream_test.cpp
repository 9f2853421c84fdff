#include "support/conversion.h"
#include "support/recording_utils.h"

#include <random>

namespace {

// One character of a text; awaits: the decoder must see the byte behind it first.
struct Piece {
    std::string in, out;
    bool awaits = false;
};

// Texts cut and squeezed in every way: each part must stop where its room or its last whole character ends, and what
// the parts give must be what the whole text gives.
TEST(Stream, PartsGiveTheWhole) {
    // clang-format off
    const std::pair<int32_t, std::vector<Piece>> texts[] = {
        {2, {{"C3A9", "C3A9"}, {"80", ""}, {"F09F9880", "F09F9880"}, {"BF", ""}, {"E44142", "E48182"}, {"C080", "C080"},
             {"F8C1C2C3C4", "F881828384"}, {"EFBBBF", "EFBBBF"}, {"FFFFFFFFFFFF", "FFBFBFBFBFBF"}}},
        {18, {{"4100", "41"}, {"2D4E", "E4B8AD"}, {"E900", "C3A9"}, {"0000", "00"}, {"3DD8", "EDA0BD"}}},
        {19, {{"0041", "41"}, {"4E2D", "E4B8AD"}, {"00E9", "C3A9"}, {"0000", "00"}, {"D83D", "EDA0BD"}}},
        {20, {{"D6D0", "E4B8AD"}, {"FF", ""}, {"B0", "EFBFBD", true}, {"0A", "0A"}, {"80", "E4BCAC"},
             {"A1A4", "C2B7"}}},
        {1, {{"A440", "E4B880"}, {"85", ""}, {"A4", "EFBFBD", true}, {"FF", ""}, {"80", "EFB9A5"}, {"FEFE", "EFBFBD"}}},
        {33, {{"8141", "EAB082"}, {"B0A1", "EAB080"}, {"8120", "EFBFBD"}, {"FF", "EFBFBD"}, {"A1A4", "C2B7"}}},
        {5, {{"A5", ""}, {"A1", "C4A6"}, {"AE", ""}, {"80", "C280"}}},
        {8, {{"A1", "EFBFBD"}, {"C1", "D8A1"}, {"80", "C280"}}},
        {13, {{"A1", "E0B881"}, {"DB", ""}, {"FC", ""}, {"A0", "C2A0"}}},
        {23, {{"80", "E282AC"}, {"81", ""}, {"E9", "C3A9"}, {"9D", ""}}}};
    // clang-format on
    for (const auto &[type, pieces] : texts) {
        const std::string ascii = fromHex(type == 18 ? "2000" : type == 19 ? "0020" : "20");
        std::vector<Piece> characters;
        std::string text, whole;
        for (size_t i = 0; i < 9 * pieces.size(); ++i) { // thrice with neighbours of its kind, else among ASCII
            const Piece &piece = pieces[i % pieces.size()];
            characters.push_back({fromHex(piece.in), fromHex(piece.out), piece.awaits});
            characters.insert(characters.end(), i / pieces.size() % 3 * 19, {ascii, " "});
        }
        characters.insert(characters.end(), 120, characters[0]); // whole blocks, some of them growing threefold
        for (const Piece &piece : characters) {
            text += piece.in;
            whole += piece.out;
        }
        const Handle handle(converterOf(type));
        const auto check = [&, type = type](size_t cut, size_t capacity) {
            size_t consumed = 0, written = 0;
            for (const Piece &piece : characters) {
                if (consumed + piece.in.size() + (piece.awaits ? 1 : 0) > cut || written + piece.out.size() > capacity)
                    break;
                consumed += piece.in.size();
                written += piece.out.size();
            }
            SCOPED_TRACE(std::to_string(type) + " " + std::to_string(cut) + " " + std::to_string(capacity));
            const Converted first = handle.convert(type, std::string_view(text).substr(0, cut), capacity);
            ASSERT_EQ(first.output, whole.substr(0, written));
            ASSERT_EQ(first.consumed, consumed);
            const Converted rest = handle.convert(type, text.substr(consumed) + ascii);
            ASSERT_EQ(rest.output, whole.substr(written) + " ");
            recording::takeLines();
        };
        for (size_t cut = 1; cut <= text.size(); ++cut)
            check(cut, 3 * cut);
        for (size_t capacity = text.size(); capacity <= whole.size() + 1; ++capacity)
            check(text.size(), capacity);
    }
}

// Well-formed UTF-8 comes out as it went in, wherever a block of it ends.
TEST(Stream, KeepsSequencesWhole) {
    const Handle handle(g_stUCS_converter);
    for (const char *sequence : {"C280", "DFBF", "E08080", "E0B881", "EFBFBF", "F0808080", "F7BFBFBF"}) {
        for (size_t before = 0; before < 64; ++before) {
            std::string text(before, 'a');
            for (int i = 0; i < 80; ++i)
                text += fromHex(sequence);
            ASSERT_EQ(handle.convert(2, text + std::string(50, 'z')).output, text + std::string(50, 'z')) << before;
        }
        recording::takeLines();
    }
}

// Long input goes fast, input of a few bytes never: what a text gives at once it must give in short pieces too, and
// with little room as much of that as fits.
TEST(Stream, StretchesGiveWhatCharactersGive) {
    constexpr size_t PIECE = 7; // a character of any encoding and no word of eight bytes
    std::mt19937 random(20260);
    const auto upTo = [&random](size_t last) { return random() % (last + 1); };
    for (int i = 0; i < 33 * 120; ++i) {
        const int32_t type = 1 + i / 120;
        const Handle handle(converterOf(type));
        std::string text;
        // Runs of ASCII, of foreign bytes, of what is a pair in most two-byte encodings, of anything.
        while (text.size() < static_cast<size_t>(i % 120) * 8 + 8) {
            const size_t kind = upTo(4);
            for (size_t run = upTo(kind == 0 ? 90 : 20); run > 0; --run) {
                if (kind == 1)
                    text.append({static_cast<char>(0xA1 + upTo(0x5D)), static_cast<char>(0xA1 + upTo(0x5D))});
                else
                    text += static_cast<char>(kind == 0 ? upTo(0x7F) : kind == 2 ? 0x80 + upTo(0x7F) : upTo(0xFF));
            }
            text.append(kind == 3 ? 80 : 0, '\0'); // which is ASCII in UTF-16 as well
        }
        std::string pieces;
        size_t consumed = 0;
        for (uint32_t taken = 1; taken > 0 && consumed < text.size(); consumed += taken) {
            const Converted part = handle.convert(type, std::string_view(text).substr(consumed, PIECE));
            pieces += part.output;
            taken = part.result == 0 ? part.consumed : 0;
        }
        const Converted whole = handle.convert(type, text);
        ASSERT_EQ(whole.output, pieces) << type << testing::PrintToString(text);
        ASSERT_EQ(whole.result == 0 ? whole.consumed : 0, consumed) << type;
        const Converted cut = handle.convert(type, text, text.size() + upTo(2 * text.size()));
        ASSERT_EQ(cut.output, pieces.substr(0, cut.output.size())) << type << testing::PrintToString(text);
        recording::takeLines();
    }
}

} // namespace
