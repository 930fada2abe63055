// Pieces of an object's life that several tests drive.
#pragma once

#include <functional>

#include "validate/World.h"

namespace ond::validate {

/// Edits the item to another value within its range and tells the object: a check box is switched, a number moves a
/// little, a button is pressed.
void change(StrictHost& host, const Item& item);

/// Edits every item to another value and back, with `between` in the state that each leaves. For check boxes only, if
/// numbers should stay what they are.
void changeEach(StrictHost& host, bool numbersToo, const std::function<void()>& between);

/// From the making of an object to its release: runs, frames shown, every item edited, records run, an element deleted,
/// a save, and a second object that loads it. All that an object may ask of its host comes up here.
void wholeLife(Check& check);

/// The same in a world that is there already. At the end another object gets half of the block.
void fullLife(World& world);

}  // namespace ond::validate
