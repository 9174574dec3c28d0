#pragma once

#include <array>

namespace orb::unitview {

/// The game's fixed view of a unit: orthographic, from the south, with heights drawn upwards.
struct RenderConstants {
    /// Screen height of one model unit of height, in units of ground distance.
    double cabinetYPitch = 0.5;
    /// Distance between the near and the far plane, in model units.
    double orthoDepthRange = 4096;
    /// World to view, column-major: view x = x, view y = cabinetYPitch * y - z, and a view z that
    /// grows towards the viewer. World z points at the viewer.
    std::array<double, 16> cabinetView = {1, 0, 0, 0, 0, 0.5, 1, 0, 0, -1, 0.5, 0, 0, 0, 0, 1};
    std::array<double, 3> modelOrigin = {0, 0, 0};
    /// Height of the ground on which the unit stands.
    double groundContact = 0;
    /// atan(cabinetYPitch).
    double tiltFromVerticalDeg = 26.56505117707799;
    double azimuthDeg = 0;

    struct Light {
        /// Unit vector from the unit to the light.
        std::array<double, 3> direction = {-0.4082482904638631, 0.8164965809277261,
                                           0.4082482904638631};
        double ambient = 0.45;
        double diffuse = 0.55;
    };
    Light light;
};

}  // namespace orb::unitview
