#include <fstream>
#include <iostream>
#include <iterator>

#include "fuzzing.h"

// Stands in for the fuzzing engine where there is none: feeds each file of the given folders to the
// target once, so that the normal tests meet what the fuzzers start from.

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// The engine's own, for targets that have a mutator.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t*, std::size_t size, std::size_t) {
    return size;
}

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string input{std::istreambuf_iterator<char>(file), {}};
            std::cerr << entry.path() << '\n';
            LLVMFuzzerTestOneInput(orb::fuzz::bytesOf(input).data(), input.size());
            ++count;
        }
    }
    std::cerr << count << " inputs\n";
    return count == 0 ? 1 : 0;
}
