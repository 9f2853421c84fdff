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
        {20, {{"D6D0", "E4B8AD"}, {"FF", ""}, {"B0", "EFBFBD", true}, {"0A", "0A"}, {"80", "E4BCAC"}, {"A1A4", "C2B7"}}},
        {1, {{"A440", "E4B880"}, {"85", ""}, {"A4", "EFBFBD", true}, {"FF", ""}, {"80", "EFB9A5"}, {"FEFE", "EFBFBD"}}},
        {33, {{"8141", "EAB082"}, {"B0A1", "EAB080"}, {"8120", "EFBFBD"}, {"FF", "EFBFBD"}, {"A1A4", "C2B7"}}},
        {5, {{"A5", ""}, {"A1", "C4A6"}, {"AE", ""}, {"80", "C280"}}},
        {8, {{"A1", "EFBFBD"}, {"C1", "D8A1"}, {"80", "C280"}}},
        {13, {{"A1", "E0B881"}, {"DB", ""}, {"FC", ""}, {"A0", "C2A0"}}},
        {23, {{"80", "E282AC"}, {"81", ""}, {"E9", "C3A9"}, {"9D", ""}}}};
    // clang-format on
    for (const auto &[type, pieces] : texts) {
        std::vector<Piece> characters;
        std::string text, whole;
        for (size_t i = 0; i < 9 * pieces.size(); ++i) { // thrice with neighbours of its kind, else among ASCII
            characters.push_back(pieces[i % pieces.size()]);
            const std::string ascii = type == 18 ? "2000" : type == 19 ? "0020" : "20";
            for (size_t run = i / pieces.size() % 3 * 19; run > 0; --run)
                characters.push_back({ascii, "20"});
        }
        for (Piece &piece : characters) {
            piece = {fromHex(piece.in), fromHex(piece.out), piece.awaits};
            text += piece.in;
            whole += piece.out;
        }
        const Handle handle(converterOf(type));
        const auto check = [&](size_t cut, size_t capacity) {
            size_t consumed = 0, written = 0;
            for (const Piece &piece : characters) {
                if (consumed + piece.in.size() + (piece.awaits ? 1 : 0) > cut || written + piece.out.size() > capacity)
                    break;
                consumed += piece.in.size();
                written += piece.out.size();
            }
            const Converted first = handle.convert(type, std::string_view(text).substr(0, cut), capacity);
            ASSERT_EQ(first.output, whole.substr(0, written)) << type << " " << cut << " " << capacity;
            ASSERT_EQ(first.consumed, consumed) << type << " " << cut << " " << capacity;
            if (consumed < text.size()) {
                const Converted rest = handle.convert(type, std::string_view(text).substr(consumed));
                ASSERT_EQ(rest.output, whole.substr(written)) << type << " " << cut << " " << capacity;
            }
            recording::takeLines();
        };
        for (size_t cut = 1; cut <= text.size(); ++cut)
            check(cut, 3 * cut);
        for (size_t capacity = text.size(); capacity <= whole.size() + 1; ++capacity)
            check(text.size(), capacity);
    }
}

// Long input goes by the block, short input never: what a text gives at once it must give in short pieces too.
TEST(Stream, BlocksGiveWhatCharactersGive) {
    constexpr size_t piece = 40;
    std::mt19937 random(20260);
    const auto below = [&random](uint32_t limit) { return static_cast<uint32_t>(random()) % limit; };
    for (int32_t type = 1; type <= 33; ++type) {
        if (type == 31 || type == 32)
            continue;
        const Handle handle(converterOf(type));
        for (int round = 0; round < 150; ++round) {
            std::string text;
            while (text.size() < static_cast<size_t>(round) * 8) { // runs of ASCII, of foreign bytes, of anything
                const uint32_t kind = below(4);
                const uint32_t first = kind == 1 ? 0x80 : 0;
                for (uint32_t run = below(kind == 0 ? 90 : 20); run > 0; --run) {
                    if ((type == 18 || type == 19) && kind == 0)
                        text += type == 19 ? std::string{'\0', 'a'} : std::string{'a', '\0'};
                    else
                        text += static_cast<char>(first + below(kind == 0 ? 0x80 : 0x100 - first));
                }
            }
            if (text.empty())
                continue;
            std::string pieces;
            size_t consumed = 0;
            for (uint32_t taken = 1; taken > 0 && consumed < text.size(); consumed += taken) {
                const Converted part = handle.convert(type, std::string_view(text).substr(consumed, piece));
                pieces += part.output;
                taken = part.consumed;
            }
            const Converted whole = handle.convert(type, text);
            ASSERT_EQ(whole.output, pieces) << type << " " << round;
            ASSERT_EQ(whole.consumed, consumed) << type << " " << round;
            const size_t capacity = text.size() + below(static_cast<uint32_t>(text.size()));
            const Converted squeezed = handle.convert(type, text, capacity);
            const Converted rest = handle.convert(type, text.substr(squeezed.consumed) + " ");
            ASSERT_EQ((squeezed.output + rest.output).substr(0, pieces.size()), pieces) << type << " " << round;
            recording::takeLines();
        }
    }
}

} // namespace
