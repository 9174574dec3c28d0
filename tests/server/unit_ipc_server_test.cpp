#include "server/unit_ipc_server.h"

#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "server/base64.h"
#include "server/command_table.h"
#include "session/unit_view_session.h"

namespace orb::unitview::ipc {
namespace {

/// A server over strings.
struct Harness {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream binary;
    UnitViewSession session;
    UnitIpcServer server{session, in, out, &binary};
};

TEST(UnitIpcServer, StopsReadingAfterShutdownAndAnswersALastLineWithoutNewline) {
    Harness harness;
    harness.in.str("{\"type\":\"shutdown\",\"seq\":3}\n{\"type\":\"ping\"}\n");
    harness.server.run();
    EXPECT_EQ(harness.out.str(), "{\"data\":{},\"seq\":3,\"type\":\"shutdown\"}\n");

    Harness other;
    other.in.str("{\"type\":\"ping\"}");
    other.server.run();
    EXPECT_EQ(other.out.str(), "{\"data\":{},\"seq\":0,\"type\":\"pong\"}\n");
}

TEST(UnitIpcServer, RepliesCarryAnyPayloadText) {
    Harness harness;
    harness.server.sendReply(1, "a", std::string());
    harness.server.sendReply(2, "b", std::string(R"({ "z" : 1, "a" : "é" })"));
    harness.server.sendReply(3, "c", std::string("not json"));
    harness.server.sendReply(0, "d", nlohmann::json{{"x", "bad \xff byte"}});
    harness.server.sendError(5, "bad \xff byte");
    EXPECT_EQ(harness.out.str(),
              "{\"data\":{},\"seq\":1,\"type\":\"a\"}\n"
              "{\"data\":{\"a\":\"é\",\"z\":1},\"seq\":2,\"type\":\"b\"}\n"
              "{\"data\":\"not json\",\"seq\":3,\"type\":\"c\"}\n"
              "{\"data\":{\"x\":\"bad \xef\xbf\xbd byte\"},\"seq\":0,\"type\":\"d\"}\n"
              "{\"data\":{\"message\":\"bad \xef\xbf\xbd byte\"},\"seq\":5,\"type\":\"error\"}\n");
}

TEST(UnitIpcServer, FramesAreALengthAndTheBytes) {
    Harness harness;
    const std::uint8_t bytes[] = {1, 2, 3};
    harness.server.sendBinaryFrame(bytes, 0);
    harness.server.sendBinaryFrame(bytes, 3);
    EXPECT_EQ(harness.binary.str(), std::string("\0\0\0\0\3\0\0\0\1\2\3", 11));
}

TEST(CommandTable, FindsEachRowByItsExactType) {
    for (const Command& command : commandTable()) EXPECT_EQ(findCommand(command.type), &command);
    EXPECT_EQ(findCommand("Ping"), nullptr);
}

TEST(Base64, RoundTripsEveryLengthAndNamesTheWrongCharacter) {
    const std::pair<std::string, std::string> pairs[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"\xff\xfe?", "//4/"}};
    for (const auto& [plain, encoded] : pairs) {
        const io::Bytes bytes(plain.begin(), plain.end());
        EXPECT_EQ(encodeBase64(bytes), encoded);
        EXPECT_EQ(decodeBase64(encoded), bytes);
    }
    EXPECT_EQ(decodeBase64("Zg"), io::Bytes{'f'});
    for (const char* bad : {"Z", "Zg===", "Zm9v!", "=Zg"})
        EXPECT_THROW(decodeBase64(bad), std::runtime_error) << bad;
}

}  // namespace
}  // namespace orb::unitview::ipc
