#include <iostream>
#include <optional>

#include "server/fd_sink_buf.h"
#include "server/memory_reserve.h"
#include "server/process_streams.h"
#include "server/unit_ipc_server.h"
#include "session/unit_view_session.h"

int main() {
    using namespace orb::unitview;

    std::ios::sync_with_stdio(false);
    std::cin.tie(nullptr);
    ipc::prepareStandardStreams();
    ipc::prepareForLittleMemory();

    UnitViewSession session;
    ipc::FdSinkBuf binarySink(ipc::openBinaryChannel());
    std::optional<std::ostream> binary;
    if (binarySink.isOpen()) binary.emplace(&binarySink);

    ipc::UnitIpcServer(session, std::cin, std::cout, binary ? &*binary : nullptr).run();
    return 0;
}
