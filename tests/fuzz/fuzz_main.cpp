#include <ctime>

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "fuzzing.h"
#include "tests/quiet_log.h"

// Inputs of some targets are requests that write files wherever they name. What such a target does
// to keep them in its scratch folder may have holes; the kernel's own sandbox below cannot be left
// (it does let through changes of permissions, which no request asks for).

namespace orb::fuzz {
namespace {

namespace fs = std::filesystem;

/// Everything that changes a file or a folder, as far as the first two versions of the interface
/// know it; the third adds truncating.
constexpr std::uint64_t kWriting =
    LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
    LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
    LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO | LANDLOCK_ACCESS_FS_MAKE_BLOCK |
    LANDLOCK_ACCESS_FS_MAKE_SYM | LANDLOCK_ACCESS_FS_REFER;
constexpr std::uint64_t kTruncating = 1U << 14;

/// Processor time that one input may take; under the sanitizers that is about a tenth of it as
/// shipped. The clock on the wall would make faults of a busy machine.
constexpr double kSlowSeconds = 6;

[[noreturn]] void refuseToRun(const char* what) {
    std::fprintf(stderr, "cannot confine this process to its own folders: %s\n", what);
    std::_Exit(kCannotConfine);
}

class Sandbox {
public:
    Sandbox() {
        const long version =
            syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
        if (version < 2) refuseToRun("this kernel has no landlock");
        if (version >= 3) writing_ |= kTruncating;
        const landlock_ruleset_attr attributes{.handled_access_fs = writing_};
        rules_ = static_cast<int>(
            syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0));
        if (rules_ < 0) refuseToRun("landlock_create_ruleset");
    }

    void allowWritingBelow(const fs::path& folder) const {
        landlock_path_beneath_attr rule{.allowed_access = writing_,
                                        .parent_fd = open(folder.c_str(), O_PATH | O_CLOEXEC)};
        if (rule.parent_fd < 0) return;
        syscall(SYS_landlock_add_rule, rules_, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
        close(rule.parent_fd);
    }

    void enter() const {
        if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
            syscall(SYS_landlock_restrict_self, rules_, 0) != 0)
            refuseToRun("landlock_restrict_self");
        close(rules_);
    }

private:
    std::uint64_t writing_ = kWriting;
    int rules_ = -1;
};

/// The folder itself stays: removing it would be a change of the one that contains it.
void emptyScratchFolder() {
    std::error_code ignored;
    fs::remove_all(scratchFolder(), ignored);
}

/// The folders that the fuzzing engine itself writes to: the corpora among its arguments and where
/// artefacts go; when coverage is measured also that of the profile.
void allowOutputs(const Sandbox& sandbox, int argc, char** argv) {
    constexpr std::string_view kArtifacts = "-artifact_prefix=";
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument.starts_with(kArtifacts))
            sandbox.allowWritingBelow(argument.substr(kArtifacts.size()));
        else if (!argument.starts_with('-') && fs::is_directory(argument))
            sandbox.allowWritingBelow(argument);
    }
    if (const char* const profile = std::getenv("LLVM_PROFILE_FILE"))
        sandbox.allowWritingBelow(fs::path(profile).parent_path());
}

}  // namespace

const fs::path& scratchFolder() {
    static const fs::path folder = [] {
        std::string name = (fs::temp_directory_path() / "orb-fuzz-XXXXXX").string();
        if (!mkdtemp(name.data())) refuseToRun("mkdtemp");
        return fs::path(name);
    }();
    return folder;
}

}  // namespace orb::fuzz

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    using namespace orb::fuzz;
    static const orb::QuietLog quiet;

    const Sandbox sandbox;
    sandbox.allowWritingBelow(scratchFolder());
    allowOutputs(sandbox, *argc, *argv);
    sandbox.enter();
    std::atexit(emptyScratchFolder);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::clock_t start = std::clock();
    orb::fuzz::run({data, size});
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    orb::fuzz::require(seconds < orb::fuzz::kSlowSeconds, "an input takes a few seconds at most");
    return 0;
}
