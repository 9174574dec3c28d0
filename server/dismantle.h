#pragma once

#include <nlohmann/json.hpp>

namespace orb::unitview::ipc {

/// Empties a value without taking memory, which the library's own destructor needs: as much again
/// as the largest array in it. Its depth is what requests and replies may have.
inline void dismantle(nlohmann::json& value) {
    if (auto* const array = value.get_ptr<nlohmann::json::array_t*>()) {
        for (; !array->empty(); array->pop_back()) dismantle(array->back());
    } else if (auto* const object = value.get_ptr<nlohmann::json::object_t*>()) {
        for (; !object->empty(); object->erase(object->begin())) dismantle(object->begin()->second);
    }
}

/// Does it at the end of a scope.
class Dismantling {
public:
    explicit Dismantling(nlohmann::json& value) : value_(value) {}
    Dismantling(const Dismantling&) = delete;
    Dismantling& operator=(const Dismantling&) = delete;
    ~Dismantling() { dismantle(value_); }

private:
    nlohmann::json& value_;
};

}  // namespace orb::unitview::ipc
