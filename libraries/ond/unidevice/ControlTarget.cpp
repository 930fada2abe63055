#include "ond/unidevice/ControlTarget.h"

#include <algorithm>

#include "ond/unidevice/Property.h"

namespace ond::unidevice {

void ControlTarget::detach(ControlSource* gone) {
    if (source == gone) source = nullptr;
    for (ControlObserver* observer : registered) observer->bWired = false;
}

ControlSource::~ControlSource() {
    while (!properties.empty()) {
        Property* property = properties.back();
        properties.pop_back();
        property->detach(this);
    }
}

void ControlSource::wire(Property& property) {
    if (property.source == this) return;
    properties.push_back(&property);
    if (property.source != nullptr) property.source->unwire(property);
    property.source = this;
}

void ControlSource::unwire(Property& property) {
    if (property.source != this) return;
    properties.erase(std::remove(properties.begin(), properties.end(), &property), properties.end());
    property.detach(this);
}

}  // namespace ond::unidevice
