// write_texts FOLDER BYTES SMALL: writes the texts of both benchmarks for the instruction counts and lists them, a line
// each: convert, detect, judge or judge small; encoding or text, mix, code type, file.
#include "texts.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <tuple>

using namespace bench;

namespace {

void write(const std::string &folder, size_t size, const char *operation, const char *name, const Encoding &in,
           Mix mix) {
    static int s_number = 0;
    const std::string path = folder + "/" + std::to_string(s_number++);
    std::ofstream file(path, std::ios::binary);
    if (!(file << makeSample(in, mix, size).bytes << std::flush))
        fail("cannot write " + path);
    std::printf("%s|%s|%s|%d|%s\n", operation, name, mixName(mix), static_cast<int>(in.codeType), path.c_str());
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 4)
        fail("usage: write_texts FOLDER BYTES SMALL");
    const auto size = static_cast<size_t>(std::atol(argv[2]));
    const auto small = static_cast<size_t>(std::atol(argv[3]));
    for (const Encoding &from : encodings())
        for (const Mix mix : MIXES)
            write(argv[1], size, "convert", from.name, from, mix);
    const std::tuple<const char *, size_t> operations[] = {{"detect", size}, {"judge", size}, {"judge small", small}};
    for (const auto &[operation, bytes] : operations)
        for (const DetectionText &text : detectionTexts())
            if (!text.byteOrderMark)
                write(argv[1], bytes, operation, text.name, encoding(text.encoding), text.mix);
    return 0;
}
