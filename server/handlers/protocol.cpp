#include "server/handlers/handlers.h"

namespace orb::unitview::ipc::handlers {

Reply hello(UnitViewSession&, const Payload&) {
    return {{{"protocolVersion", 1u}, {"product", "ORB Unit Editor"}, {"version", "0.1.0"}}};
}

Reply ping(UnitViewSession&, const Payload&) { return {}; }

// The loop ends after the reply: see the command's effect in the table.
Reply shutdown(UnitViewSession&, const Payload&) { return {}; }

}  // namespace orb::unitview::ipc::handlers
