#pragma once

namespace orb::unitview {

/// Notes in the log what the environment asks of the walker rig, ORB_WALKER_TUNE and
/// ORB_WALKER_DISABLE. There is no rig here, so nothing else comes of them.
void logWalkerSwitches();

}  // namespace orb::unitview
