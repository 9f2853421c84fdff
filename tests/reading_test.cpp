// The reading engine: texts of many languages, encoded by the C library, are read as what they are; sums never run
// over.
#include "double_byte.h"
#include "reading.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iconv.h>
#include <random>
#include <string>

using namespace zutext;
using std::string;

namespace {

struct EncodingName {
    int32_t number;
    const char *iconvName;
};

const EncodingName kNames[] = {
    {1, "BIG5"},          {3, "ISO-8859-1"},     {4, "ISO-8859-2"},    {5, "ISO-8859-3"},    {6, "ISO-8859-4"},
    {7, "ISO-8859-5"},    {8, "ISO-8859-6"},     {9, "ISO-8859-7"},    {10, "ISO-8859-8"},   {11, "ISO-8859-9"},
    {12, "ISO-8859-10"},  {13, "ISO-8859-11"},   {14, "ISO-8859-13"},  {15, "ISO-8859-14"},  {16, "ISO-8859-15"},
    {17, "ISO-8859-16"},  {20, "GBK"},           {21, "WINDOWS-1250"}, {22, "WINDOWS-1251"}, {23, "WINDOWS-1252"},
    {24, "WINDOWS-1253"}, {25, "WINDOWS-1254"},  {26, "WINDOWS-1255"}, {27, "WINDOWS-1256"}, {28, "WINDOWS-1257"},
    {29, "WINDOWS-1258"}, {30, "WINDOWS-874"},   {33, "CP949"},        {100, "SHIFT_JIS"},   {101, "EUC-JP"},
    {107, "KOI8-R"},      {108, "KOI8-U"},       {109, "CP866"},       {110, "CP437"},       {111, "CP850"},
    {112, "CP852"},       {113, "MAC-CYRILLIC"},
};

string encoded(const string &text, int32_t encoding) {
    const auto *name = std::find_if(std::begin(kNames), std::end(kNames),
                                    [=](const EncodingName &row) { return row.number == encoding; });
    const iconv_t converter = iconv_open(name->iconvName, "UTF-8");
    string input = text, output(4 * text.size() + 4, '\0');
    char *in = input.data(), *out = output.data();
    size_t left = input.size(), room = output.size();
    EXPECT_EQ(iconv(converter, &in, &left, &out, &room), 0u) << name->iconvName << ": " << in;
    iconv_close(converter);
    return output.substr(0, output.size() - room);
}

Bytes bytesOf(const string &text) { return {reinterpret_cast<const uint8_t *>(text.data()), text.size()}; }

Readings read(const string &text, const ReadingHints &hints = {}) {
    Readings readings;
    EXPECT_TRUE(readSingleByte(bytesOf(text), hints, readings));
    EXPECT_GE(readings.count, 1);
    EXPECT_TRUE(std::is_sorted(readings.rows, readings.rows + readings.count,
                               [](const Reading &a, const Reading &b) { return a.cost < b.cost; }));
    return readings;
}

bool sameText(const string &text, int32_t encoding, int32_t other) {
    return std::all_of(text.begin(), text.end(), [=](char byte) {
        const auto code = static_cast<uint8_t>(byte);
        return codePointOf(encoding, code) == codePointOf(other, code);
    });
}

string languageOf(const Reading &reading) {
    return reading.language < 0 ? "-" : languages()[static_cast<size_t>(reading.language)].code;
}

uint64_t hintFor(const string &code) {
    for (size_t i = 0; i < languages().size(); ++i) {
        if (languages()[i].code == code) {
            return uint64_t{1} << i;
        }
    }
    return 0;
}

struct Sample {
    const char *language; // empty: several are as likely
    std::vector<int32_t> encodings;
    const char *text;
};

const Sample kSamples[] = {
    {"ar", {8, 27}, "مرحبا يا صديقي، أين كنت طوال اليوم؟\nكنت في السوق مع أخي الصغير."},
    {"be", {7, 22}, "Добры вечар! Дзе ты быў увесь дзень?\nЯ чакаў цябе каля старой ратушы, ішоў дождж."},
    {"bg", {7, 22, 107}, "Добър вечер! Къде беше през целия ден?\nЧаках те пред старата църква, а валеше дъжд."},
    {"ca", {3, 16, 23}, "Bona nit! On eres? T'he esperat davant l'església i plovia molt. Això no està bé, germà meu."},
    {"cs", {4, 21}, "Dobrý večer! Kde jsi byl celý den?\nČekal jsem na tebe před starou věží a pršelo."},
    {"cy", {15}, "Noswaith dda! Ble'r oeddet ti drwy'r dydd? Roedd y tŷ yn wag, a dŵr ar y llawr."},
    {"da",
     {3, 16, 23},
     "God aften! Hvor har du været hele dagen?\nJeg stod på broen og ventede, og så begyndte det at øse ned."},
    {"de",
     {3, 16, 23, 111},
     "Guten Abend! Wo warst du den ganzen Tag? Ich habe vor der Brücke gewartet, und es fing an zu "
     "schütten. Das wäre ja schön gewesen."},
    {"el", {9, 24}, "Καλησπέρα! Πού ήσουν όλη μέρα;\nΣε περίμενα μπροστά στο παλιό ρολόι και έβρεχε."},
    {"eo",
     {5},
     "Bonan vesperon! Kie vi estis la tutan tagon? Mi atendis vin ĉe la malnova preĝejo, kaj ĉiuj jam foriris, "
     "eĉ mia fraŭlino."},
    {"es",
     {3, 16, 23},
     "¡Buenas noches! ¿Dónde estabas todo el día? Te esperé en la plaza y no paró de llover, señor."},
    {"et",
     {6, 14, 28},
     "Tere õhtust! Kus sa terve päeva olid? Ma ootasin sind vana kiriku ees ja vihma sadas. Žürii sõi "
     "šokolaadi.\nDžinni, tule garaaži!"},
    {"fa", {27}, "سلام دوست من، تمام روز کجا بودي؟ من پيش برادرم چاي مي خوردم و گپ مي زديم."},
    {"fi", {3, 16, 23}, "Hyvää iltaa! Missä sinä olit koko päivän? Odotin sinua vanhan kirkon edessä, ja satoi vettä."},
    {"fr",
     {3, 16, 23},
     "Bonsoir ! Où étais-tu toute la journée ? Je t'ai attendu près de l'église, et il pleuvait à verse."},
    {"he", {10, 26}, "ערב טוב! איפה היית כל היום?\nחיכיתי לך ליד המגדל הישן וירד גשם."},
    {"",
     {4, 17, 21},
     "Dobra večer! Gdje si bio cijeli dan? Čekao sam te pred crkvom, a kiša je padala. Možda sutra, kaže šef."},
    {"hu",
     {4, 21},
     "Jó estét! Hol voltál egész nap? A régi torony előtt vártam rád, és esett az eső. Nem tűnt jó ötletnek."},
    {"is",
     {3, 12, 23},
     "Gott kvöld! Hvar varst þú í allan dag? Ég beið þín fyrir framan gömlu kirkjuna og það rigndi."},
    {"it",
     {3, 16, 23},
     "Buonasera! Dove sei stato tutto il giorno? È tardi, e la città è vuota. Non so perché ma è così."},
    {"lt",
     {6, 14, 28},
     "Labas vakaras! Kur buvai visą dieną? Laukiau tavęs prie senos bažnyčios, o lietus vis lijo, žinai."},
    {"lv",
     {6, 14, 28},
     "Labvakar! Kur tu biji visu dienu? Es tevi gaidīju pie vecās baznīcas, un lija lietus. Kāpēc tu neatnāci?"},
    {"mk",
     {7, 22},
     "Добра вечер! Каде беше цел ден? Те чекав пред старата црква, а врнеше дожд. Ѓорѓи и Љупчо ќе дојдат."},
    {"mt",
     {5},
     "Il-lejl it-tajjeb! Fejn kont il-ġurnata kollha? Jien stennejtek quddiem il-knisja, u bdiet ix-xita. Għaliex "
     "ma ġejtx, ħabib?"},
    {"nl",
     {3, 16, 23},
     "Goedenavond! Waar was je de hele dag? Ik heb op je gewacht, één uur lang, en dat vóór de kerk. De "
     "financiën zijn geregeld."},
    {"pl",
     {4, 17, 21, 112},
     "Dobry wieczór! Gdzie byłeś cały dzień?\nCzekałem na ciebie pod wieżą, a deszcz ciągle padał."},
    {"pt",
     {3, 16, 23},
     "Boa noite! Onde você esteve o dia todo? Esperei em frente à igreja, e não parava de chover, irmão."},
    {"ro", {4, 21}, "Bună seara! Unde ai fost toată ziua? Te-am aşteptat în faţa bisericii şi ploua. Îţi spun mâine."},
    {"ru", {7, 22, 107, 109, 113}, "Добрый вечер! Где ты был весь день?\nЯ ждал тебя у старой башни, и шёл дождь."},
    {"sk",
     {4, 21},
     "Dobrý večer! Kde si bol celý deň? Čakal som na teba pred starou vežou a pršalo. Ľúbim ťa, povedal."},
    {"sl",
     {4, 21},
     "Dober večer! Kje si bil ves dan? Čakal sem te pred staro cerkvijo in deževalo je. Še vedno te imam rad."},
    {"sq",
     {3, 16, 23},
     "Mirëmbrëma! Ku ishe gjithë ditën? Të prita para kishës së vjetër dhe binte shi. Çfarë ndodhi?"},
    {"sr-Cyrl",
     {7, 22},
     "Добро вече! Где си био цео дан? Чекао сам те пред старом црквом, а киша је падала. Ђорђе ће доћи, љубави."},
    {"sv",
     {3, 16, 23},
     "God kväll! Var har du varit hela dagen? Jag stod på bron och väntade, och då började det ösa ner."},
    {"th", {13, 30}, "สวัสดีครับ คุณไปไหนมาทั้งวัน ผมรอคุณอยู่หน้าวัดเก่า แล้วฝนก็ตก"},
    {"tr",
     {11, 25},
     "İyi akşamlar! Bütün gün neredeydin? Seni eski kulenin önünde bekledim ve yağmur yağıyordu. Işık söndü."},
    {"uk",
     {7, 22, 108},
     "Добрий вечір! Де ти був увесь день? Я чекав на тебе біля старої вежі, йшов дощ. Її ганок порожній, і єдина "
     "квітка зів'яла."},
    // Little to go by, and what is easily taken for something else.
    {"it", {3, 23}, "Che ore sono adesso? Il caffè è pronto, e la cena anche. Lui è andato via, ma non importa."},
    {"", {23}, "We met at a café near the station. “It’s my résumé,” she said. “You’d better read it.” He didn’t."},
    {"nl", {23}, "Zo´n dag als vandaag zie je niet vaak. ´s Avonds gaan we met de auto´s naar zee, zei oma´s buurman."},
    {"de",
     {23},
     "1\r\n00:00:01,000 --> 00:00:03,500\r\n<i>Was tun Sie da drüben?</i>\r\n\r\n2\r\n00:00:04,000 --> "
     "00:00:06,000\r\n{\\an8}Nichts. Gar nichts.\r\n"},
    {"ru",
     {22},
     "1\r\n00:00:01,000 --> 00:00:03,500\r\n<i>Кто там?</i>\r\n\r\n2\r\n00:00:04,000 --> "
     "00:00:06,000\r\n- Это я, Windows.\r\n- И что?\r\n"},
};

} // namespace

TEST(Reading, KnowsEachLanguageInEachOfItsEncodings) {
    for (const Sample &sample : kSamples) {
        for (const int32_t encoding : sample.encodings) {
            const string text = encoded(sample.text, encoding);
            const Readings readings = read(text);
            EXPECT_TRUE(sameText(text, encoding, readings.rows[0].encoding))
                << sample.text << ": " << readings.rows[0].encoding << " instead of " << encoding;
            if (*sample.language != '\0') {
                EXPECT_EQ(languageOf(readings.rows[0]), sample.language) << sample.text;
            }
        }
    }
}

TEST(Reading, KnowsTheVietnameseOfMarksApart) {
    // Windows-1258 has no letter with two marks: iconv takes the tone mark by itself.
    const string text =
        encoded("Chào bạn! Cả ngày bạn ở đâu? Tôi đã đợi bạn trước ngôi nhà cũ, và trời mưa rất to.", 29);
    EXPECT_EQ(read(text).rows[0].encoding, 29);
    EXPECT_EQ(languageOf(read(text).rows[0]), "vi");
}

TEST(Reading, TakesHintsAsPriorsNotAsVetoes) {
    const string vague = "na\xefve"; // the same letter in four pages
    EXPECT_EQ(read(vague, {uint64_t{1} << singleByteIndex(25), 0}).rows[0].encoding, 25);
    const string russian = encoded(kSamples[28].text, 22);
    const Readings hinted = read(russian, {uint64_t{1} << singleByteIndex(23), hintFor("fr")});
    EXPECT_EQ(hinted.rows[0].encoding, 22);
    EXPECT_EQ(languageOf(hinted.rows[0]), "ru");
}

TEST(Reading, NamesOnlySureEncodingsThatAreNotConverted) {
    // Short words that other encodings can read as well, then a sentence that they cannot.
    for (const char *text : {"\xC9", "\xD4\xD9"}) {
        EXPECT_LT(read(text).rows[0].encoding, 100) << text;
    }
    const Readings readings = read(encoded("Где ты был вчера?", 107));
    EXPECT_EQ(readings.rows[0].encoding, 107);
    EXPECT_GE(readings.rows[1].cost - readings.rows[0].cost, kSureMargin);
}

TEST(Reading, ListsATextOnce) {
    const string text = encoded("Ça va ? Très bien, merci.", 23);
    const Readings readings = read(text);
    for (int32_t i = 0; i < readings.count; ++i) {
        for (int32_t j = 0; j < i; ++j) {
            EXPECT_FALSE(sameText(text, readings.rows[i].encoding, readings.rows[j].encoding));
        }
    }
}

TEST(Reading, CodePointsAreThoseOfTheCLibrary) {
    for (const EncodingName &name : kNames) {
        if (singleByteIndex(name.number) < 0) {
            continue;
        }
        const iconv_t converter = iconv_open("UCS-2LE", name.iconvName);
        for (int byte = 0; byte < 256; ++byte) {
            auto code = static_cast<char>(byte);
            uint16_t point = 0;
            char *in = &code, *out = reinterpret_cast<char *>(&point);
            size_t left = 1, room = sizeof point;
            iconv(converter, nullptr, nullptr, nullptr, nullptr);
            // What is held back for a mark that may follow comes out at the end.
            const bool known = iconv(converter, &in, &left, &out, &room) == 0 &&
                               iconv(converter, nullptr, nullptr, &out, &room) == 0 && room == 0;
            if (name.number == 113 && byte == 0xFF) {
                continue; // the euro sign came later
            }
            EXPECT_EQ(codePointOf(name.number, static_cast<uint8_t>(byte)), known ? point : 0xFFFD)
                << name.iconvName << ' ' << std::hex << byte;
        }
        iconv_close(converter);
    }
}

TEST(Reading, TakesAnyBytes) {
    std::mt19937 random(12);
    for (size_t length = 0; length < 3000; length = length * 3 / 2 + 1) {
        string text(length, '\0');
        for (char &byte : text) {
            byte = static_cast<char>(random() >> (length % 2 == 0 ? 0 : 25));
        }
        read(text);
        int32_t cost = 0;
        for (const int32_t encoding : {1, 20, 33, 100, 101}) {
            EXPECT_TRUE(readDoubleByte(HighPart(bytesOf(text)), encoding, INT64_MAX, cost));
        }
        EXPECT_FALSE(readDoubleByte(HighPart(bytesOf(text)), 23, INT64_MAX, cost));
    }
}

TEST(Reading, SumsOfLongTextsDoNotRunOver) {
    string text = encoded(kSamples[28].text, 22);
    while (text.size() < 30000000) {
        text += text;
    }
    const Readings readings = read(text);
    EXPECT_EQ(readings.rows[0].encoding, 22);
    EXPECT_EQ(languageOf(readings.rows[0]), "ru");
    EXPECT_GE(readings.rows[1].cost - readings.rows[0].cost, kSureMargin);
}

TEST(DoubleByte, IsBelievedWhereItReadsBetter) {
    const struct {
        int32_t encoding;
        const char *text;
    } texts[] = {
        {20, "晚上好！你今天一天都在哪里？我在老教堂前面等你，下雨了。"},
        {1, "晚安！你今天一整天都在哪裡？我在老教堂前面等你，下雨了。"},
        {33, "안녕하세요! 하루 종일 어디 있었어요? 낡은 교회 앞에서 기다렸는데 비가 왔어요."},
        {100, "こんばんは！一日中どこにいたの？古い教会の前で待っていたら、雨が降ってきた。"},
        {101, "こんばんは！一日中どこにいたの？古い教会の前で待っていたら、雨が降ってきた。"},
    };
    const auto cost = [](const string &text, int32_t encoding) {
        int32_t result = -1;
        EXPECT_TRUE(readDoubleByte(HighPart(bytesOf(text)), encoding, INT64_MAX, result));
        return result;
    };
    for (const auto &row : texts) {
        const string text = encoded(row.text, row.encoding);
        EXPECT_TRUE(isBelievable(cost(text, row.encoding), read(text).rows[0].cost, false)) << row.text;
        for (const auto &other : texts) {
            EXPECT_LE(cost(text, row.encoding), cost(text, other.encoding)) << row.text << other.encoding;
        }
    }
    for (const Sample &sample : kSamples) {
        const string text = encoded(sample.text, sample.encodings.back());
        for (const auto &row : texts) {
            EXPECT_FALSE(isBelievable(cost(text, row.encoding), read(text).rows[0].cost, true))
                << sample.text << row.encoding;
        }
    }
}
