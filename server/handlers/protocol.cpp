#include "io/product.h"
#include "server/handlers/handlers.h"

namespace orb::unitview::ipc::handlers {
namespace {

constexpr unsigned kProtocolVersion = 1;

}  // namespace

Reply hello(UnitViewSession&, const Payload&) {
    return {{{"protocolVersion", kProtocolVersion},
             {"product", io::kProductName},
             {"version", io::kProductVersion}}};
}

Reply ping(UnitViewSession&, const Payload&) {
    return {};
}

// The loop ends after the reply: see the command's effect in the table.
Reply shutdown(UnitViewSession&, const Payload&) {
    return {};
}

}  // namespace orb::unitview::ipc::handlers
