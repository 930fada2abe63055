// What the vehicle does when the user changes an item of the dialog, or undoes or redoes such a change.
#pragma once

#include <string>

namespace ond::ovs::addon {

class CCarCamObject;

/// See CInterface::Callback::onParameterChanged(). Of most labels nothing follows.
void onParameterChanged(CCarCamObject& vehicle, const std::string& label);

}  // namespace ond::ovs::addon
