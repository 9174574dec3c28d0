// Scans a game of 3,000 units in 40 archives and 3 mods for conflicts, against listing and reading
// the same definitions once, and reports the health of its units, against units of a game of 30 in
// as many archives, against the same units in loose files and against plainly reading those; at
// last that of all units, each read for it, against plainly reading their files.

#include <filesystem>

#include <fmt/format.h>

#include "bench/figures.h"
#include "bench/large_data_root.h"
#include "bench/plain_read.h"
#include "diagnostics/conflict_scan.h"
#include "diagnostics/unit_health.h"

namespace {

namespace fs = std::filesystem;
using namespace orb;
using unitview::UnitViewSession;

constexpr std::size_t kUnits = 3000;
constexpr std::size_t kSmallUnits = 30;
constexpr std::size_t kReports = 200;

/// Lists the directories that the scan looks into and reads every unit and weapon file.
std::size_t readOnce(const io::CompositeVirtualFileSystem& files) {
    std::size_t count = 0;
    for (const io::VfsLayer& layer : files.layers()) {
        for (const char* directory : {"objects3d", "scripts", "unitpics"})
            count += layer.files->listFiles(directory, "").size();
        for (const char* directory : {"units", "weapons"})
            layer.files->forEachFile(directory, "",
                                     [&](std::string_view, const std::optional<io::Bytes>&,
                                         std::string_view) { ++count; });
    }
    return count;
}

std::size_t reportUnits(UnitViewSession& session, const std::vector<unitview::LoadedUnit>& units) {
    std::size_t rows = 0;
    for (const unitview::LoadedUnit& unit : units)
        rows += unitview::checkUnitHealth(session.data(), unit, {}).rows.size();
    return rows;
}

std::string unitNamed(std::size_t number) {
    return fmt::format("UNIT{:04}", number);
}

/// As when a front end asks for each unit by its name.
std::size_t reportEach(const UnitViewSession& session) {
    std::size_t rows = 0;
    for (std::size_t i = 0; i < kUnits; ++i) {
        unitview::HealthOptions options;
        const unitview::LoadedUnit unit = session.readUnit(unitNamed(i), &options.faults);
        rows += unitview::checkUnitHealth(session.data(), unit, {}, options).rows.size();
    }
    return rows;
}

std::vector<unitview::LoadedUnit> loadUnits(const UnitViewSession& session, std::size_t count) {
    std::vector<unitview::LoadedUnit> units;
    for (std::size_t i = 0; i < kReports; ++i)
        units.push_back(unitview::loadUnitFiles(session.data().files, session.data().catalogue,
                                                unitNamed(i * 7919 % count)));
    return units;
}

}  // namespace

int main() {
    const bench::QuietLog quiet;
    const fs::path folder = bench::dataFolder();
    const auto large = bench::makeLargeDataRoot(folder / "large");
    const auto small = bench::makeLargeDataRoot(folder / "few_units", {kSmallUnits, 40, 1'000'000});
    const fs::path looseGame =
        bench::makeLargeDataRoot(folder / "loose", bench::looseFiles(kUnits)).game;
    UnitViewSession session, smallSession, archives, loose;
    session.setDataRoots({large.game, large.mods, {}});
    smallSession.setDataRoots({small.game, small.mods, {}});
    archives.setDataRoots({large.game, {}, {}});
    loose.setDataRoots({looseGame, {}, {}});

    const auto scan = bench::measure(
        {[&] {
             bench::require(!unitview::scanConflicts(session.data()).empty(),
                            "the mods collide with nothing");
         },
         [&] { bench::require(readOnce(session.data().files) >= 4 * kUnits, "too few files"); }});
    bench::reportTime("conflict scan of 3000 units / reading once", scan[0], "ms", scan[1]);

    const auto units = loadUnits(session, kUnits);
    const auto smallUnits = loadUnits(smallSession, kSmallUnits);
    const auto report = bench::measure(
        {[&] { bench::require(reportUnits(session, units) >= 10 * kReports, "too few rows"); },
         [&] { reportUnits(smallSession, smallUnits); }});
    bench::reportTime("health of a unit of 3000 / of a unit of 30", report[0], "ms", report[1],
                      kReports);

    const auto archivedUnits = loadUnits(archives, kUnits);
    const auto looseUnits = loadUnits(loose, kUnits);
    std::vector<fs::path> files;
    for (const unitview::LoadedUnit& unit : looseUnits)
        for (auto& path : bench::listLooseUnitFiles(looseGame, unit.name))
            files.push_back(std::move(path));
    const auto looseReport = bench::measure({[&] { reportUnits(loose, looseUnits); },
                                             [&] { reportUnits(archives, archivedUnits); },
                                             [&] { bench::readPlainly(files); }});
    bench::reportTime("health of a unit, loose files / archives", looseReport[0], "us",
                      looseReport[1], kReports);
    bench::reportTime("health of a unit, loose files / plain read of them", looseReport[0], "us",
                      looseReport[2], kReports);

    std::vector<std::string> names;
    std::vector<fs::path> looseFiles;
    for (std::size_t i = 0; i < kUnits; ++i) {
        names.push_back(unitNamed(i));
        for (auto& path : bench::listLooseUnitFiles(looseGame, unitNamed(i), bench::UnitFiles::all))
            looseFiles.push_back(std::move(path));
    }
    const auto archived = bench::listUnitReads(large.game, names, bench::UnitFiles::all);
    const auto each =
        bench::measure({[&] { reportEach(archives); }, [&] { bench::readPlainly(archived); },
                        [&] { reportEach(loose); }, [&] { bench::readPlainly(looseFiles); }});
    bench::reportTime("health of 3000 units in archives / plain read", each[0], "ms", each[1]);
    bench::reportTime("health of 3000 loose units / plain read", each[2], "ms", each[3]);
    return 0;
}
