// bench_aes encrypt FILE KEY          reads the file through the encrypting stream and drops what comes
// bench_aes decrypt FILE KEY TARGET   writes the file through the decrypting stream
// Pieces are as large as those of the HTTP layer.

#include <cstdio>
#include <string_view>
#include <vector>

#include "platform/Streams.h"
#include "security/BXSyncAESInputStream.h"
#include "security/BXSyncAESOutputStream.h"

using namespace tidemark;

namespace {

constexpr std::size_t pieceSize = 32768;

bool encrypt(const char* file, const char* key)
{
    BXSyncAESInputStream source(file, key, false);
    if (!source.open()) return false;
    std::vector<std::byte> piece(pieceSize);
    while (source.hasBytesAvailable())
        if (source.read(piece) < 0) break;
    return source.streamStatus() != StreamStatus::error;
}

bool decrypt(const char* file, const char* key, const char* target)
{
    const auto source = makeFileInputStream(file);
    BXSyncAESOutputStream sink(target, key, true);
    if (!source->open() || !sink.open()) return false;
    std::vector<std::byte> piece(pieceSize);
    for (auto count = source->read(piece); count != 0; count = source->read(piece))
        if (count < 0 || !sink.write(std::span(piece).first(static_cast<std::size_t>(count)))) return false;
    return sink.close();
}

} // namespace

int main(int argc, char** argv)
{
    const std::string_view direction = argc > 1 ? argv[1] : "";
    if (direction == "encrypt" && argc == 4) return encrypt(argv[2], argv[3]) ? 0 : 1;
    if (direction == "decrypt" && argc == 5) return decrypt(argv[2], argv[3], argv[4]) ? 0 : 1;
    std::fputs("usage: bench_aes encrypt FILE KEY | decrypt FILE KEY TARGET\n", stderr);
    return 2;
}
