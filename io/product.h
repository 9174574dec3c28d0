#pragma once

/// What this program calls itself.
namespace orb::io {

inline constexpr const char* kProductName = "ORB Unit Editor";
inline constexpr const char* kProductVersion = "0.1.0";

}  // namespace orb::io
