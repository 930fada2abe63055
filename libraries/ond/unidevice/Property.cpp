#include "ond/unidevice/Property.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace ond::unidevice {

Property::Property(std::string channelName, std::int32_t channelType)
    : name(std::move(channelName)), type(channelType) {}

Property::~Property() {
    if (source == nullptr) return;
    std::vector<Property*>& fed = source->properties;
    fed.erase(std::remove(fed.begin(), fed.end(), this), fed.end());
}

double Property::value() const {
    const double x = source == nullptr ? 0.0 : source->currentValue();
    const double sign = x < 0.0 ? -1.0 : 1.0;
    double travel = std::abs(x) - deadZone;
    if (travel < 0.0) travel = 0.0;
    travel = std::pow(travel / (1.0 - deadZone), exponent);
    return travel * sign * multiplier + offset;
}

Property* Property::Factory::create(std::string channelName, std::int32_t channelType) {
    try {
        return new Property(std::move(channelName), channelType);
    } catch (...) {
        return nullptr;
    }
}

}  // namespace ond::unidevice
