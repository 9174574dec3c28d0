// Mounts a game of 3,000 units in 40 archives and loads units of it. Baselines of the same run:
// mounting against plainly reading and inflating the same bytes, loading a unit against plainly
// reading and inflating its three files, and against loading from a game of 30 units in one
// archive. Then the same units in one archive and in loose files, named in another case than they
// are asked for, against the archives and against plainly opening and reading the files.

#include <deque>
#include <filesystem>

#include <fmt/format.h>

#include "bench/figures.h"
#include "bench/large_data_root.h"
#include "bench/plain_read.h"
#include "session/unit_view_session.h"

namespace {

namespace fs = std::filesystem;
using namespace orb;
using unitview::UnitViewSession;

constexpr std::size_t kUnits = 3000;
constexpr std::size_t kLoadedUnits = 200;

void loadUnits(UnitViewSession& session, std::size_t unitCount) {
    for (std::size_t i = 0; i < kLoadedUnits; ++i)
        bench::require(
            session.loadUnit(fmt::format("UNIT{:04}", i * 7919 % unitCount)).cob != nullptr,
            "a unit lost its script");
}

void benchMounting(UnitViewSession& session, const fs::path& game) {
    const auto reads = bench::listMountReadsOf(game);
    session.setDataRoots({game, {}, {}});
    bench::require(session.data().catalogue.roster().size() == kUnits, "units are missing");
    bench::require(readPlainly(reads) == byteCount(reads), "the plain reader reads something else");

    std::deque<UnitViewSession> fresh;
    const auto timings = bench::measure({[&] {
                                             fresh.emplace_back().setDataRoots({game, {}, {}});
                                         },
                                         [&] {
                                             session.setDataRoots({game, {}, {}});
                                         },
                                         [&] { readPlainly(reads); }});
    bench::reportTime("mount 3000 units, 40 archives / plain read", timings[0], "ms", timings[2]);
    bench::reportTime("  in place of roots mounted before", timings[1], "ms", timings[2]);
}

void benchOneArchive() {
    const fs::path game =
        bench::makeLargeDataRoot(bench::dataFolder() / "whole", {kUnits, 1, 1'000'000}).game;
    const auto reads = bench::listMountReadsOf(game);
    UnitViewSession session;
    const auto timings = bench::measure({[&] {
                                             session.setDataRoots({game, {}, {}});
                                         },
                                         [&] { readPlainly(reads); }});
    bench::require(session.data().catalogue.roster().size() == kUnits, "units are missing");
    bench::reportTime("mount 3000 units, one archive / plain read", timings[0], "ms", timings[1]);
}

/// What every edit does once its file is written, against reading what changed.
void benchRefresh(UnitViewSession& session) {
    const io::FileLocation written = session.resolveUnitSource("UNIT0000").location;
    const std::vector reads{bench::listMountReads(written.path)};
    const auto timings =
        bench::measure({[&] { session.refreshAfterWrite(written); }, [&] { readPlainly(reads); }});
    bench::require(session.data().catalogue.roster().size() == kUnits, "a refresh lost units");
    bench::reportTime("refresh after a write, 3000 units / read archive", timings[0], "ms",
                      timings[1]);
}

void benchLoading(UnitViewSession& session, const fs::path& game) {
    UnitViewSession small;
    small.setDataRoots(
        {bench::makeLargeDataRoot(bench::dataFolder() / "small", {30, 1, 1'000'000}).game, {}, {}});
    std::vector<bench::PlainArchive> reads;
    for (std::size_t i = 0; i < kLoadedUnits; ++i)
        for (auto& read : bench::listUnitReads(game, {fmt::format("UNIT{:04}", i * 7919 % kUnits)}))
            reads.push_back(std::move(read));
    const auto timings =
        bench::measure({[&] { loadUnits(session, kUnits); }, [&] { readPlainly(reads); },
                        [&] { loadUnits(small, 30); }});
    bench::reportTime("load a unit of 3000 / plain read of its files", timings[0], "ms", timings[1],
                      kLoadedUnits);
    bench::reportTime("load a unit of 3000 / load a unit of 30", timings[0], "ms", timings[2],
                      kLoadedUnits);
}

void benchLooseFiles(UnitViewSession& archives) {
    const fs::path game =
        bench::makeLargeDataRoot(bench::dataFolder() / "loose", bench::looseFiles(kUnits)).game;
    UnitViewSession loose;
    loose.setDataRoots({game, {}, {}});
    bench::require(loose.data().catalogue.roster().size() == kUnits, "loose units are missing");
    const auto texts = bench::listLooseMountFiles(game);
    const auto mounting = bench::measure({[&] {
                                              loose.setDataRoots({game, {}, {}});
                                          },
                                          [&] { bench::readPlainly(texts); }});
    bench::reportTime("mount 3000 loose units / plain read of their texts", mounting[0], "ms",
                      mounting[1]);
    std::vector<fs::path> files;
    for (std::size_t i = 0; i < kLoadedUnits; ++i)
        for (auto& path :
             bench::listLooseUnitFiles(game, fmt::format("UNIT{:04}", i * 7919 % kUnits)))
            files.push_back(std::move(path));
    const auto timings =
        bench::measure({[&] { loadUnits(loose, kUnits); }, [&] { loadUnits(archives, kUnits); },
                        [&] { bench::require(bench::readPlainly(files) > 0, "empty files"); }});
    bench::reportTime("load a unit, loose files / archives", timings[0], "us", timings[1],
                      kLoadedUnits);
    bench::reportTime("load a unit, loose files / plain read of them", timings[0], "us", timings[2],
                      kLoadedUnits);
}

}  // namespace

int main() {
    const bench::QuietLog quiet;
    const fs::path game = bench::makeLargeDataRoot(bench::dataFolder() / "large").game;
    UnitViewSession session;
    benchMounting(session, game);
    benchOneArchive();
    benchRefresh(session);
    benchLoading(session, game);
    benchLooseFiles(session);
    return 0;
}
