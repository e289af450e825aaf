// Runs a fuzz target without the fuzzer: on the files of a folder, and on changes of them, the same ones every time.
//
//     fuzz_TARGET FOLDER [CHANGES]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "support.h"

namespace {

using Bytes = std::string;

constexpr size_t longest = 512;

void run(const Bytes &input) {
    const std::vector<uint8_t> exact(input.begin(), input.end()); // so that a sanitizer sees reads beyond the end
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

std::vector<Bytes> files(const char *folder) {
    std::vector<std::filesystem::path> paths;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    std::vector<Bytes> all;
    for (const auto &path : paths) {
        std::ifstream file(path, std::ios::binary);
        all.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return all;
}

class Changes {
public:
    explicit Changes(const std::vector<Bytes> &seeds) : seeds_(seeds) {}

    Bytes next() {
        Bytes input = seeds_[below(seeds_.size())];
        for (size_t edits = 1 + below(4); edits > 0; edits--) edit(input);
        if (input.size() > longest) input.resize(longest);
        return input;
    }

private:
    size_t below(size_t limit) { return limit == 0 ? 0 : random_() % limit; }

    void edit(Bytes &input) {
        const size_t at = below(input.size() + 1), length = std::min(below(8) + 1, input.size() - at);
        const Bytes &other = seeds_[below(seeds_.size())];
        switch (below(6)) {
        case 0: input.erase(at, length); break;
        case 1: input.insert(at, input.substr(at, length)); break;
        case 2: input.insert(at, 1, static_cast<char>(below(256))); break;
        case 3:
            if (at < input.size()) input[at] = static_cast<char>(input[at] ^ 1 << below(8));
            break;
        case 4: input.replace(at, length, other.substr(below(other.size()), below(16))); break;
        default: input = input.substr(0, at) + other.substr(below(other.size())); break;
        }
    }

    const std::vector<Bytes> &seeds_;
    std::mt19937 random_{20240229};
};

} // namespace

int main(int argc, char **argv) {
    const std::vector<Bytes> seeds = files(argc > 1 ? argv[1] : ".");
    const long changes = argc > 2 ? std::atol(argv[2]) : 0;
    if (seeds.empty()) {
        std::fprintf(stderr, "there are no files to replay\n");
        return 1;
    }
    if (!std::freopen("/dev/null", "w", stdout)) return 1; // targets that print
    for (const Bytes &seed : seeds) run(seed);
    Changes change(seeds);
    for (long i = 0; i < changes; i++) run(change.next());
    std::fprintf(stderr, "%zu files and %ld changes of them: nothing to report\n", seeds.size(), changes);
    return 0;
}
