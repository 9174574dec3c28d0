#include "session/lint_suppressions.h"

#include <fstream>
#include <iterator>
#include <vector>

#include <gtest/gtest.h>

#include "io/path_text.h"
#include "tests/quiet_log.h"
#include "tests/test_folder.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

/// Two data roots in a folder.
class LintSuppressionsTest : public testing::Test {
protected:
    LintSuppressionsTest() {
        for (const fs::path& root : roots_) fs::create_directories(root);
    }

    void write(std::size_t root, std::string_view text) {
        std::ofstream(roots_[root] / kLintSuppressFile, std::ios::binary) << text;
    }
    std::string read(std::size_t root) { return readText(roots_[root] / kLintSuppressFile); }
    static std::string readText(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TestFolder testFolder_;
    fs::path folder_ = testFolder_.path();
    std::vector<fs::path> roots_{folder_ / "mod", folder_ / "game"};
    QuietLog log_{folder_ / "log"};
};

TEST_F(LintSuppressionsTest, MatchUnitsInAnyCaseAndTheRestExactly) {
    LintSuppressions rules;
    rules.add({"armcom", "unused-script", "Walk"});
    rules.add({std::nullopt, "missing-killed", "killed"});
    rules.add({"ARMCOM", "", "ignored"});
    EXPECT_TRUE(rules.isSuppressed("ArmCom", "unused-script", "Walk"));
    EXPECT_TRUE(rules.isSuppressed("ANY", "missing-killed", "killed"));
    EXPECT_FALSE(rules.isSuppressed("ARMCOM", "unused-script", "walk"));
    EXPECT_FALSE(rules.isSuppressed("ARMCOM", "Unused-script", "Walk"));
    EXPECT_FALSE(rules.isSuppressed("ARMAP", "unused-script", "Walk"));
    EXPECT_FALSE(rules.isSuppressed("ARMCOM", "", "ignored"));

    rules.remove({std::nullopt, "unused-script", "Walk"});  // another rule
    EXPECT_TRUE(rules.isSuppressed("ARMCOM", "unused-script", "Walk"));
    rules.remove({"aRMCOM", "unused-script", "Walk"});
    EXPECT_TRUE(rules.perUnit().empty());
}

TEST_F(LintSuppressionsTest, AreTheUnionOfAllRootsAndWrittenToTheFirst) {
    write(0, R"({"perUnit":{"ARMCOM":{"unused-script":["B"]}}})");
    write(1, R"({"global":{"x":["g"]},"perUnit":{"armcom":{"unused-script":["A"]}},"note":[[1]]})");
    const LintSuppressions rules = loadLintSuppressions(roots_);
    EXPECT_EQ(saveLintSuppressions(rules, roots_), roots_[0] / kLintSuppressFile);
    EXPECT_EQ(read(0),
              "{\n  \"global\": {\n    \"x\": [\n      \"g\"\n    ]\n  },\n"
              "  \"perUnit\": {\n    \"ARMCOM\": {\n      \"unused-script\": [\n"
              "        \"A\",\n        \"B\"\n      ]\n    }\n  }\n}\n");
    EXPECT_FALSE(fs::exists(folder_ / "mod" / "lint-suppress.json.orb-write-tmp"));
    EXPECT_EQ(loadLintSuppressions(std::vector{roots_[0]}).perUnit(), rules.perUnit());
}

TEST_F(LintSuppressionsTest, KeepWhatCanBeReadOfAMalformedFile) {
    struct Case {
        std::string text;
        const char* warning;
        bool keepsRule;
    };
    const std::string deep(1'000'000, '[');
    const Case cases[] = {
        {R"({"global":{"x":[5,"g"]}})", "type must be string, but is number", true},
        {R"({"perUnit":7,"global":{"x":["g"]}})", "type must be object, but is number", true},
        {R"({"perUnit":{"A":["g"]},"global":{"x":["g"]}})", "type must be object, but is array",
         true},
        {R"({"global":{"x":["g"],)", "parse error", true},
        {R"({"global":{"x":"g"}})", "type must be array, but is string", false},
        {R"([{"global":{"x":["g"]}}])", "type must be object, but is array", false},
        {R"({"global":{"x":[["g"],{"y":["g"]},null]}})", "type must be string, but is array",
         false},
        {"", "parse error", false},
        {R"({"global":{"x":["g"]},"note":)" + deep, "nested too deeply", true},
    };
    for (const Case& test : cases) {
        write(0, test.text);
        const std::size_t logged = readText(folder_ / "log").size();
        const LintSuppressions rules = loadLintSuppressions(roots_);
        const std::string log = readText(folder_ / "log").substr(logged);
        EXPECT_EQ(rules.isSuppressed("ANY", "x", "g"), test.keepsRule) << test.text;
        EXPECT_TRUE(rules.perUnit().empty()) << test.text;
        EXPECT_NE(log.find(test.warning), std::string::npos) << test.text << ": " << log;
    }
}

TEST_F(LintSuppressionsTest, ReportWhyTheyCannotBeWritten) {
    const auto failure = [&](const std::vector<fs::path>& roots) -> std::string {
        try {
            saveLintSuppressions({}, roots);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "none";
    };
    EXPECT_EQ(saveLintSuppressions({}, {}), std::nullopt);
    EXPECT_EQ(failure({folder_ / "new" / "mod"}), "none");

    std::ofstream(folder_ / "file") << "not a folder";
    EXPECT_TRUE(failure({folder_ / "file" / "mod"}).starts_with("create dir: "));
    const fs::path inTheWay = roots_[0] / kLintSuppressFile;
    fs::create_directory(inTheWay);
    EXPECT_TRUE(loadLintSuppressions(roots_).global().empty());
    EXPECT_EQ(failure(roots_), "open for write: " + io::textFromPath(inTheWay));

    // Too large to be read: its rules must survive.
    fs::remove(inTheWay);
    write(0, R"({"global":{"x":["g"]}})" + std::string(1 << 22, ' '));
    EXPECT_TRUE(loadLintSuppressions(roots_).global().empty());
    EXPECT_EQ(failure(roots_), "open for write: " + io::textFromPath(inTheWay));
    EXPECT_GT(fs::file_size(inTheWay), 1U << 22);
}

}  // namespace
}  // namespace orb::unitview
