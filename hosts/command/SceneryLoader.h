// Puts ground and scenery files into a scene.
#pragma once

#include <string>
#include <vector>

#include "command/DrivePlan.h"
#include "stage/Scene.h"

namespace ond::command {

/// What a drive's files brought into the scene.
struct LoadedGround {
    stage::Element* parent = nullptr;       ///< the mesh that carries the gravity arrow
    std::vector<stage::Element*> children;  ///< the meshes that belong below it
    std::vector<std::string> notes;         ///< what is odd in the files

    [[nodiscard]] std::vector<const stage::Element*> all() const;
};

/// Meshes that rest become elements whose vertices are in world coordinates; a file of more than eight of them has one
/// element for each colour. Moving nodes keep their tree and are only seen: what moves is no ground.
/// @throws CommandError if two files want to carry the arrow; stage::GroundError for files that cannot be read
[[nodiscard]] LoadedGround loadGround(const DrivePlan& plan, stage::Scene& scene);

/// Hangs the gravity arrow of the vehicle below the ground and the further ground below the arrow. Ground that already
/// hangs below the arrow of another vehicle is given a hidden copy.
void linkGround(stage::Scene& scene, const LoadedGround& ground, const std::string& vehicle);

}  // namespace ond::command
