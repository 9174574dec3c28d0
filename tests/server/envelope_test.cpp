#include "server/envelope.h"

#include <gtest/gtest.h>

namespace orb::unitview::ipc {
namespace {

TEST(Envelope, ErrorsNameTheFirstThingWrong) {
    struct Case {
        std::string line;
        EnvelopeError kind;
        std::string message;
    };
    const std::string deep(1'000'000, '[');
    const Case cases[] = {
        {"[1]", EnvelopeError::notAnObject, "top-level JSON is not an object"},
        {"{}", EnvelopeError::missingType, "envelope missing required \"type\" field"},
        {R"({"type":5,"seq":-1})", EnvelopeError::typeNotAString, "\"type\" must be a string"},
        {R"({"type":"a","seq":-1})", EnvelopeError::badSeq, "\"seq\" must be non-negative"},
        {R"({"type":"a","seq":1.0})", EnvelopeError::badSeq, "\"seq\" must be a number"},
        {R"({"type":"a","seq":"1"})", EnvelopeError::badSeq, "\"seq\" must be a number"},
        {R"({"type":"a","seq":null})", EnvelopeError::badSeq, "\"seq\" must be a number"},
        {R"({"type":"a","seq":18446744073709551616})", EnvelopeError::badSeq,
         "\"seq\" must be a number"},
        {R"({"type":"a","data":)" + deep, EnvelopeError::jsonSyntax,
         "parse error at column 275: JSON nested deeper than 256 levels"},
        {std::string("{\"type\":\"a\"}\0x", 14), EnvelopeError::jsonSyntax,
         "parse error at column 13: NUL byte"},
    };
    for (const auto& [line, kind, message] : cases) {
        const auto result = parseEnvelope(line);
        EXPECT_FALSE(result.success);
        EXPECT_EQ(result.errorKind, kind) << line.substr(0, 80);
        EXPECT_EQ(result.errorMessage, message);
        EXPECT_EQ(result.envelope.seq, 0U);
    }
}

TEST(Envelope, SyntaxErrorsCarryTheParsersText) {
    for (const std::string line :
         {"", "{", "{\"type\":\"a\",}", "{} //", "{\"a\":1e999}", "\xff", "{\"type\":\"\xff\"}"}) {
        const auto result = parseEnvelope(line);
        EXPECT_EQ(result.errorKind, EnvelopeError::jsonSyntax) << line;
        EXPECT_NE(result.errorMessage, "") << line;
    }
}

TEST(Envelope, TakesTypeSeqAndCompactData) {
    const auto result = parseEnvelope(
        "{\"x\":1,\"data\":{\"b\": \"\\u00e9]\\\"[\", \"a\":[ "
        "]},\"seq\":7,\"type\":\"t\"}\r\r\n\r");
    ASSERT_TRUE(result.success);
    EXPECT_EQ(result.envelope.type, "t");
    EXPECT_EQ(result.envelope.seq, 7U);
    EXPECT_EQ(result.envelope.data, "{\"a\":[],\"b\":\"\xc3\xa9]\\\"[\"}");

    EXPECT_EQ(parseEnvelope(R"({"type":"t"})").envelope.data, "");
    const std::string atLimit = std::string(255, '[') + std::string(255, ']');
    EXPECT_TRUE(parseEnvelope(R"({"type":"t","data":)" + atLimit + "}").success);
    EXPECT_FALSE(parseEnvelope(R"({"type":"t","data":[)" + atLimit + "]}").success);
}

}  // namespace
}  // namespace orb::unitview::ipc
