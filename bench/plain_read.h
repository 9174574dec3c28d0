#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace orb::bench {

/// What is read of one archive: its directory and some of its files.
struct PlainArchive {
    /// Where a file's chunks lie in the archive.
    struct File {
        std::uint64_t offset = 0;
        std::size_t size = 0;
    };
    std::filesystem::path path;
    std::vector<File> files;
};

/// Everything that mounting reads: unit definitions, weapons, the tables of gamedata, the palette.
PlainArchive listMountReads(const std::filesystem::path& archive);
/// The same of all archives of a game directory.
std::vector<PlainArchive> listMountReadsOf(const std::filesystem::path& game);
/// The files of a unit that are read.
enum class UnitFiles {
    /// Definition, model and script.
    loaded,
    /// Its build picture too.
    all
};

/// The files of each unit.
std::vector<PlainArchive> listUnitReads(const std::filesystem::path& game,
                                        const std::vector<std::string>& units,
                                        UnitFiles which = UnitFiles::loaded);

/// The size of all files.
std::size_t byteCount(const std::vector<PlainArchive>& archives);

/// The baseline of everything that reads archives: reads and inflates the files as simply as the
/// format allows, and forgets them. Returns their size.
std::size_t readPlainly(const std::vector<PlainArchive>& archives);

/// The paths of a unit's files in a game of loose files.
std::vector<std::filesystem::path> listLooseUnitFiles(const std::filesystem::path& game,
                                                      std::string_view unit,
                                                      UnitFiles which = UnitFiles::loaded);

/// Every file that mounting a game of loose files reads.
std::vector<std::filesystem::path> listLooseMountFiles(const std::filesystem::path& game);

/// The baseline of everything that reads loose files: opens and reads them, and forgets them.
/// Returns their size.
std::size_t readPlainly(const std::vector<std::filesystem::path>& files);

}  // namespace orb::bench
