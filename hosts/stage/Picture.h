// A picture of the scene at a frame, drawn by rays in software: for a look at a take where there is no window.
#pragma once

#include <string>
#include <vector>

#include "stage/Scene.h"

namespace ond::stage {

struct PictureOptions {
    int width = 1280;
    int height = 720;
    /// Name of the vehicle that the camera belongs to or looks at; empty for the whole scene.
    std::string vehicle;
    /// Bare name of a camera of the vehicle. Empty: a view of the vehicle from in front and aside, or of everything.
    std::string camera;
    /// Also what the rig shows to be handled. Otherwise only body, wheels and steering wheel of the vehicles are drawn.
    bool helpers = false;
};

/// PNG of the shown meshes in plain colours, with sun, sky and shadows, under a clear sky. A scene without a mesh of
/// the user stands on a grid at y = 0. The same scene gives the same bytes on one machine.
/// @throws StageError for a camera or vehicle that is not there, and for a size below 1 or above 16384
[[nodiscard]] std::vector<unsigned char> renderPicture(const Scene& scene, int frame, const PictureOptions& options);

}  // namespace ond::stage
