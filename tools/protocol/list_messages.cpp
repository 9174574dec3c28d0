// Prints what the program itself knows of its messages, for checks that are no C++:
// [{"type", "replyType", "effect": "none" | "frame" | "transforms" | "stop"}]
#include <iostream>

#include <nlohmann/json.hpp>

#include "server/command_table.h"

namespace {

using orb::unitview::ipc::Effect;

const char* nameOf(Effect effect) {
    switch (effect) {
        case Effect::none:
            return "none";
        case Effect::frame:
            return "frame";
        case Effect::transforms:
            return "transforms";
        case Effect::stop:
            return "stop";
    }
    return "unknown";
}

}  // namespace

int main() {
    auto messages = nlohmann::json::array();
    for (const auto& command : orb::unitview::ipc::commandTable())
        messages.push_back({{"type", command.type},
                            {"replyType", command.replyType},
                            {"effect", nameOf(command.effect)}});
    std::cout << messages.dump(1) << '\n';
}
