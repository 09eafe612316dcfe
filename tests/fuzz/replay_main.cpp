// The main function of the fuzz programs where the build has no libFuzzer: runs each file once and,
// if asked to, random bytes and damaged files. A finding ends the process as it does under the
// fuzzer.
#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/support/target.h"

namespace {

constexpr std::string_view usage =
    "Usage: PROGRAM [--random COUNT] [--seed SEED] [FILE|FOLDER]...\n"
    "Runs every file, also those in the folders, then COUNT executions of random bytes and, if "
    "there\n"
    "are files, of files with some bytes changed, lost or repeated.\n";

using Bytes = std::vector<std::uint8_t>;

struct Request {
    std::uint64_t executions = 0;
    std::uint64_t seed = std::random_device{}();
    std::vector<std::filesystem::path> files;
    bool isForHelp = false;
};

std::uint64_t NumberOf(std::string_view text) {
    std::uint64_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size()) {
        throw std::invalid_argument("not a number: " + std::string(text));
    }
    return number;
}

void AddFiles(const std::filesystem::path& path, std::vector<std::filesystem::path>& files) {
    if (!std::filesystem::is_directory(path)) {
        files.push_back(path);
        return;
    }
    const std::size_t before = files.size();
    for (const auto& entry : std::filesystem::directory_iterator(path))
        files.push_back(entry.path());
    std::sort(files.begin() + static_cast<std::ptrdiff_t>(before), files.end());
}

Request Read(const std::vector<std::string_view>& words) {
    Request request;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string_view word = words[i];
        const bool hasNumber = word == "--random" || word == "--seed";
        if (hasNumber && i + 1 == words.size()) {
            throw std::invalid_argument(std::string(word) + " needs a number");
        }
        if (word == "--random") {
            request.executions = NumberOf(words[++i]);
        } else if (word == "--seed") {
            request.seed = NumberOf(words[++i]);
        } else if (word == "--help") {
            request.isForHelp = true;
        } else {
            AddFiles(word, request.files);
        }
    }
    return request;
}

Bytes BytesOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw std::runtime_error("cannot read " + file.string());
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void Run(const Bytes& bytes) {
    // Of exactly this size, so that a step behind the end is a step out of the memory.
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

Bytes RandomBytes(std::mt19937_64& engine) {
    constexpr std::size_t longest = 512;
    Bytes bytes(engine() % (longest + 1));
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(engine() >> 56U);
    return bytes;
}

// One change somewhere: another byte, another bit, a stretch left out, repeated or cut off.
void Damage(Bytes& bytes, std::mt19937_64& engine) {
    constexpr std::size_t longestStretch = 16;
    if (bytes.empty()) return;
    const std::size_t place = engine() % bytes.size();
    const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(place);
    const std::size_t length = std::min(bytes.size() - place, 1 + engine() % longestStretch);
    const auto end = at + static_cast<std::ptrdiff_t>(length);
    switch (engine() % 5) {
        case 0:
            *at = static_cast<std::uint8_t>(engine() >> 56U);
            break;
        case 1:
            *at ^= static_cast<std::uint8_t>(1U << engine() % 8);
            break;
        case 2:
            bytes.erase(at, end);
            break;
        case 3: {
            const Bytes stretch(at, end);
            bytes.insert(at, stretch.begin(), stretch.end());
            break;
        }
        default:
            bytes.resize(place);
            break;
    }
}

Bytes DamagedFile(const std::vector<Bytes>& files, std::mt19937_64& engine) {
    Bytes bytes = files[engine() % files.size()];
    const std::uint64_t changes = 1 + engine() % 4;
    for (std::uint64_t i = 0; i < changes; ++i)
        Damage(bytes, engine);
    return bytes;
}

int RunAll(const Request& request) {
    std::vector<Bytes> files;
    for (const std::filesystem::path& file : request.files) {
        files.push_back(BytesOf(file));
        Run(files.back());
    }
    std::printf("%zu files\n", files.size());
    if (request.executions > 0) {
        std::printf("%llu random executions, seed %llu\n",
                    static_cast<unsigned long long>(request.executions),
                    static_cast<unsigned long long>(request.seed));
        std::fflush(stdout);
        std::mt19937_64 engine(request.seed);
        for (std::uint64_t i = 0; i < request.executions; ++i)
            Run(files.empty() || i % 2 == 0 ? RandomBytes(engine) : DamagedFile(files, engine));
    }
    // Nothing run is nothing shown.
    return request.files.empty() && request.executions == 0 ? 2 : 0;
}

}  // namespace

int main(int count, char** words) {
    try {
        const Request request = Read({words + 1, words + count});
        if (request.isForHelp) {
            std::fputs(usage.data(), stdout);
            return 0;
        }
        LLVMFuzzerInitialize(&count, &words);
        return RunAll(request);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n%s", error.what(), usage.data());
        return 2;
    }
}
