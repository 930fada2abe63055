// What a run was like, in numbers.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "stage/Stage.h"

namespace ond::command {

struct Summary {
    struct Leaving {
        int frame = 0;
        util::Vector3<double> place;  ///< of the body
    };
    struct Jump {
        int frame = 0;
        double before = 0.0;  ///< speed up to the frame before, scene units per second
        double speed = 0.0;
    };

    std::string vehicle;
    int first = 0;
    int last = 0;
    double seconds = 0.0;
    double distance = 0.0;             ///< that the body went until it fell, scene units
    double topSpeed = 0.0;             ///< from frame to frame while a wheel touches the ground, scene units per second
    std::optional<int> topSpeedFrame;  ///< nothing if no wheel ever did, or in implausible steps only
    bool knowsAir = false;             ///< the curves tell of wheels in the air
    int wheelsInAir = 0;               ///< frames with at least one wheel in the air
    int allInAir = 0;                  ///< frames with all four
    bool hasGround = false;            ///< there are meshes to be on
    std::optional<Leaving> left;       ///< the first frame without ground below the body or a wheel
    int framesOff = 0;                 ///< how many there are
    double highest = 0.0;           ///< above the ground that was last below it, since it left; 0 if below its length
    std::optional<Leaving> falls;   ///< from where on it falls until the last frame
    std::optional<int> overturned;  ///< the first frame in which the body is upside down
    std::vector<Jump> jumps;        ///< steps that no car makes
    double wallSeconds = 0.0;       ///< that the run took; 0 if it is not known

    /// All wheels were in the air in all frames.
    [[nodiscard]] bool neverTouched() const { return knowsAir && last > first && allInAir == last - first; }
    /// Two lines and what is to be noted.
    [[nodiscard]] std::string text() const;
    /// One object.
    [[nodiscard]] std::string json() const;

  private:
    [[nodiscard]] std::string speedText() const;
    [[nodiscard]] std::string groundText() const;
};

/// Of the frames from `first` to `last`, `first` being where the vehicle started from.
[[nodiscard]] Summary summarise(const stage::Stage& stage, int vehicle, int first, int last);

}  // namespace ond::command
