#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/payload.h"

namespace orb::unitview::ipc {

/// The members of a request's data, or of an object in it. Every accessor throws a PayloadError
/// that says in plain words which member is of a wrong type: "x must be a number",
/// "order.unitIds[2] must be a whole number". It must not outlive the payload.
class Members {
public:
    /// Throws PayloadError "data must be an object".
    explicit Members(const Payload& payload);

    std::optional<std::string> text(std::string_view key) const;
    std::optional<bool> flag(std::string_view key) const;
    std::optional<double> number(std::string_view key) const;
    /// 3.0 is a whole number too. What lies beyond 64 bits takes their nearest end.
    std::optional<std::int64_t> whole(std::string_view key) const;
    /// At most so many of them.
    std::optional<std::vector<std::int64_t>> wholes(std::string_view key, std::size_t most) const;
    std::optional<Members> object(std::string_view key) const;
    std::vector<Members> objects(std::string_view key, std::size_t most) const;

    /// How texts name a member: "stocks[1].player".
    std::string nameOf(std::string_view key) const;

private:
    Members(const nlohmann::json& value, std::string name);
    const nlohmann::json* find(std::string_view key) const;

    const nlohmann::json* value_;
    /// Of the object itself, empty for the data.
    std::string name_;
};

}  // namespace orb::unitview::ipc
