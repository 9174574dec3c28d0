#include <cstdio>
#include <exception>

#include "bench/large_data_root.h"

// usage: orb-write-large-data-root FOLDER: the data roots that the benchmarks use, for the soak.
int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: orb-write-large-data-root FOLDER\n", stderr);
        return 2;
    }
    try {
        orb::bench::makeLargeDataRoot(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
