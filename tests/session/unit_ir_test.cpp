#include "session/unit_ir.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace orb::pipeline {
namespace {

/// The text that a document is refused with.
std::string refusal(std::string_view document) {
    try {
        parseUnitIr(io::Bytes(document.begin(), document.end()));
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

// A text that is no JSON once escaped as the library's own exception, which is no runtime_error.
TEST(UnitIr, RefusesWithRuntimeErrors) {
    EXPECT_EQ(refusal("").substr(0, 59),
              "[json.exception.parse_error.101] parse error at line 1, col");
    EXPECT_EQ(refusal("{\"schemaVersion\":1e999}").substr(0, 33),
              "[json.exception.out_of_range.406]");
    EXPECT_EQ(refusal("[]"), "document must be an object");
    EXPECT_EQ(refusal(std::string(300, '[')), "document nests deeper than 256 levels");
}

}  // namespace
}  // namespace orb::pipeline
