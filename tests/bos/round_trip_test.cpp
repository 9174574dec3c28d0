#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "bos/bos_testing.h"
#include "bos/disassembler.h"
#include "bos/random_program.h"
#include "io/vfs/directory_file_system.h"

namespace orb::unitview::bos {
namespace {

namespace fs = std::filesystem;
using testing::all;
using testing::compiled;
using testing::shown;

/// Every combination of the scales in use with the three other options.
std::vector<BosOptions> allOptions() {
    std::vector<BosOptions> result;
    for (const auto& [linear, angular] :
         {std::pair(163840.0, 182.0), std::pair(65536.0, 182.0),
          std::pair(81920.0, 182.04400634765625), std::pair(65536.0, 65536.0 / 360)})
        for (int i = 0; i < 12; ++i)
            result.push_back({Scale(linear), Scale(angular), static_cast<ImplicitReturn>(i / 4),
                              static_cast<ValuelessReturn>(i & 1),
                              static_cast<ArgumentOrder>(i >> 1 & 1)});
    return result;
}

/// The disassembly compiles to the very bytes, needs no raw words, and is its own disassembly.
void expectRoundTrip(const io::CobFile& cob, const BosOptions& options) {
    const BosDisassembly first = disassembleCob(cob, all(options));
    EXPECT_EQ(first.rawScripts, std::vector<std::string>{}) << first.source;
    EXPECT_TRUE(first.isExact) << first.source;
    const BosCompilation again = compiled(first.source);
    ASSERT_TRUE(again.ok) << ::testing::PrintToString(shown(again.diagnostics)) << first.source;
    EXPECT_EQ(io::writeCob(again.code.cob), io::writeCob(cob)) << first.source;
    EXPECT_EQ(disassembleCob(again.code.cob, all(options)).source, first.source);
}

/// A text compiles to the file's code with the options that came with it, whatever its first line
/// says and whichever of them the request had left open.
void expectOptionsCompileBack(const io::CobFile& cob, const BosOptionChoices& choices) {
    const BosDisassembly text = disassembleCob(cob, choices);
    EXPECT_TRUE(text.isExact) << text.source;
    const std::string withoutSettings = text.source.substr(text.source.find('\n') + 1);
    for (const std::string& source : {text.source, withoutSettings}) {
        const BosCompilation again = compiled(source, all(text.options));
        ASSERT_TRUE(again.ok) << ::testing::PrintToString(shown(again.diagnostics)) << source;
        EXPECT_EQ(again.code.cob.code, cob.code) << source;
    }
}

/// Spans cover every word once, in order.
void expectWholeSpans(const std::vector<CobLineSpan>& spans, std::size_t words) {
    std::size_t next = 0;
    for (const CobLineSpan& span : spans) {
        ASSERT_EQ(span.from, next);
        ASSERT_GE(span.to, span.from);
        next = span.to + 1;
    }
    EXPECT_EQ(next, words);
}

TEST(RoundTrip, RandomProgramsInEverySetting) {
    const std::vector<BosOptions> options = allOptions();
    for (std::uint32_t seed = 0; seed < 3000; ++seed) {
        SCOPED_TRACE(seed);
        const std::string source = testing::randomProgram(seed);
        const BosOptions& setting = options[seed % options.size()];
        const BosCompilation first = compiled(source, all(setting));
        ASSERT_TRUE(first.ok) << ::testing::PrintToString(shown(first.diagnostics)) << source;
        expectWholeSpans(first.code.lineSpans, first.code.cob.code.size());
        expectRoundTrip(first.code.cob, setting);
        BosOptionChoices open = all(options[seed / 7 % options.size()]);
        expectOptionsCompileBack(first.code.cob, open);
        open.valuelessReturn.reset();
        expectOptionsCompileBack(first.code.cob, open);
        EXPECT_EQ(disassembleCob(first.code.cob, open).rawScripts, std::vector<std::string>{});
        if (HasFailure()) FAIL() << source;
    }
}

TEST(RoundTrip, EveryScriptOfTheSampleGame) {
    int scripts = 0;
    for (const char* const root : {"game", "mod", "faulty"}) {
        const fs::path directory = fs::path(ORB_SAMPLES_DIR) / root;
        const io::DirectoryFileSystem files(directory);
        for (const auto& entry : fs::directory_iterator(directory / "scripts")) {
            if (entry.path().extension() == ".h") continue;
            SCOPED_TRACE(entry.path().string());
            std::ostringstream text;
            text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
            const std::string path = "scripts/" + entry.path().filename().string();
            const BosCompilation first = compileBos(text.str(), path, &files);
            ASSERT_EQ(shown(first.diagnostics), std::vector<std::string>{});
            ++scripts;
            if (entry.path().stem() == "FLTLINTS") continue;  // names a piece that is not there
            for (const BosOptions& setting : allOptions()) expectRoundTrip(first.code.cob, setting);
        }
    }
    EXPECT_GE(scripts, 13);
}

TEST(RoundTrip, ShortestDecimalsComeBackAndAreShortest) {
    for (const double value : {163840.0, 65536.0, 81920.0, 182.0, 182.04400634765625, 65536.0 / 360,
                               1.0, 16777216.0, 12345.678}) {
        const Scale scale(value);
        for (std::uint64_t i = 0; i < 40000; ++i) {
            const auto units = static_cast<std::uint32_t>(i < 20000 ? i : i * i * 27644437U);
            const std::string decimal = scale.shortestDecimal(units);
            ASSERT_EQ(scale.units(decimal), units) << value << ' ' << decimal;
            if (decimal.find('.') == std::string::npos) continue;
            // One place less, rounded down or up, is another number.
            const std::string shorter = decimal.substr(0, decimal.size() - 1);
            ASSERT_NE(scale.units(shorter), units) << value << ' ' << decimal;
        }
    }
}

}  // namespace
}  // namespace orb::unitview::bos
