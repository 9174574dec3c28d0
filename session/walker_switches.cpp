#include "session/walker_switches.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "server/logger.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kDefaultPreset = "default";
constexpr std::array<std::string_view, 1> kPresets = {kDefaultPreset};

void logPreset(std::string_view name) {
    if (std::ranges::find(kPresets, name) != kPresets.end())
        LogLine(LogLevel::info) << "[walker] ORB_WALKER_TUNE=" << name << " active";
    else
        LogLine(LogLevel::warn) << "[walker] ORB_WALKER_TUNE=" << name
                                << " not in preset table; using '" << kDefaultPreset << "'";
}

std::size_t countNames(std::string_view list) {
    constexpr std::string_view kSeparators = ",;:";
    std::size_t count = 0;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find_first_of(kSeparators), list.size());
        if (end > 0) ++count;
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return count;
}

}  // namespace

void logWalkerSwitches() {
    if (const char* const preset = std::getenv("ORB_WALKER_TUNE")) logPreset(preset);
    if (const char* const units = std::getenv("ORB_WALKER_DISABLE"))
        LogLine(LogLevel::info) << "[walker] ORB_WALKER_DISABLE active for " << countNames(units)
                                << " unit name(s); rig override bypassed";
}

}  // namespace orb::unitview
