#include "CarRecordFields.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>

namespace golden {
namespace {

using namespace ond::ovs::addon;

class Collector {
  public:
    explicit Collector(std::vector<Field>& out) : out_(out) {}

    void add(const std::string& path, double& x) { out_.push_back({path, path, &x}); }
    void add(const std::string& path, bool& x) { out_.push_back({path, path, &x}); }
    void add(const std::string& path, std::int32_t& x) { out_.push_back({path, path, &x}); }
    void add(const std::string& path, Vector3<double>& v) {
        out_.push_back({path + ".x", path, &v.x});
        out_.push_back({path + ".y", path, &v.y});
        out_.push_back({path + ".z", path, &v.z});
    }
    void add(const std::string& path, Quat<double>& q) {
        out_.push_back({path + ".x", path, &q.x});
        out_.push_back({path + ".y", path, &q.y});
        out_.push_back({path + ".z", path, &q.z});
        out_.push_back({path + ".w", path, &q.w});
    }
    void add(const std::string& path, QTransform<double>& t) {
        add(path + ".position", t.position);
        add(path + ".rotation", t.rotation);
    }

  private:
    std::vector<Field>& out_;
};

#define FIELD(name) to.add(prefix + #name, from.name)

void collect(Collector& to, const std::string& prefix, InputChannel& from) {
    FIELD(bOneSided);
    FIELD(raw);
    FIELD(value);
    FIELD(response);
    FIELD(maxRate);
    FIELD(maximum);
}

void collect(Collector& to, const std::string& prefix, WheelGeometry& from) {
    FIELD(radius);
    FIELD(z);
    FIELD(x);
}

void collect(Collector& to, const std::string& prefix, cCarBody& from) {
    FIELD(qTransRel);
    FIELD(qTransAbs);
    FIELD(qSpare0);
    FIELD(qSpare1);
    FIELD(fRelYPos);
    FIELD(fRelYVel);
    FIELD(fRelXAng);
    FIELD(fRelZAng);
    FIELD(fRelXAngVel);
    FIELD(fRelZAngVel);
}

void collect(Collector& to, const std::string& prefix, pcWheel& from) {
    FIELD(dSuspDistanceMoved);
    FIELD(vGroundNormal);
    FIELD(vGroundHitPoint);
    FIELD(fSuspForce);
    FIELD(fSuspIntegral);
    FIELD(qTransWheelAbs);
    FIELD(qTransWheelAbs_prev);
    FIELD(qTransWheelRel);
    FIELD(vSuspPoint);
    FIELD(vSuspPoint_prev);
    FIELD(fSuspZeroDiff);
    FIELD(fSuspZeroDiff_prev);
    FIELD(qWheelFull);
    FIELD(pfTotalPitch);
    FIELD(pfPitchIncr);
    FIELD(pfYaw);
    FIELD(pfYaw_prev);
    FIELD(qWheelYaw);
    FIELD(fGravelOffset);
    FIELD(fGravelNoise);
    FIELD(dWheelGroundNormalDiff);
    FIELD(bInAir);
}

void collectSteppingAndSkidBrake(Collector& to, const std::string& prefix, cCarCam& from) {
    FIELD(dSimStep);
    FIELD(dGasPedalValue_prev);
    FIELD(pcInput_GAS_PEDAL_inp_prev);
    FIELD(bIsReverseVelAbsBraking);
    FIELD(dVelocity);
    FIELD(fSteeringAngle);
    FIELD(dLandingSkiddingFactor);
    FIELD(dBoosterStiffnessMult);
    FIELD(fCarLocalYawIncr);
    FIELD(vAcceleration);
    FIELD(vExternalForceDir);
    FIELD(vExternalForcePos);
    FIELD(dForceOffset);
    FIELD(vWantedPosIncr);
    FIELD(dWantedSkiddingValue);
    FIELD(dScaleRelMaxJumpVelocity);
    FIELD(dLandingNeutralizer);
    FIELD(dHorizontalRestoringFactor);
    FIELD(bBoosterOn);
    FIELD(vSkidBrakePosIncr);
    FIELD(dSkidBrakeLocalYawIncr);
    FIELD(vSkidBrakeInitVel);
    FIELD(vSkidBrakeInitRotVel);
    FIELD(bSkidBreakingOn);
    FIELD(bSkidBreakingOnDisableFeatures);
    FIELD(bSkidBrakeValueOn);
    FIELD(bSkidFirstTime);
}

void collectAirAndModes(Collector& to, const std::string& prefix, cCarCam& from) {
    FIELD(bJustLanded);
    FIELD(bAllWheelsInAir);
    FIELD(bBurnoutIdle);
    FIELD(dSteeringResponseSaved);
    FIELD(dBurnoutRandom);
    FIELD(bAutonomousMode);
    FIELD(dSkiddingOffset);
    FIELD(dGravelShakeOffset);
    FIELD(dSkiddingReleaseThresh);
    FIELD(dInputFilterMem);
    FIELD(dGasPedalInputFilterMem);
    FIELD(bUseReverseAsAbsBrake);
    FIELD(randomValue_gravelShake);
    FIELD(randomValue_burnout);
    FIELD(randomValue_steeringNoise);
    FIELD(dGasPedalMaxRateOfChange);
    FIELD(bSkiddingOn);
    FIELD(bSkiddingReady);
    FIELD(iSkidBrakeVelSign);
    FIELD(iSkidBrakeSteerSign);
    FIELD(fSkidWantedGasPedalValue);
    FIELD(dSteeringInput_prev);
    FIELD(dGasPedalInput_prev);
    FIELD(dAutoSteeringValue);
    FIELD(dBaseStiffnessFront);
    FIELD(dBaseStiffnessBack);
    FIELD(dBaseDampingFront);
    FIELD(dBaseDampingBack);
    FIELD(fRelMaxBumperLen);
    FIELD(dMaximumForwardTiltAngle);
    FIELD(dMaximumSideTiltAngle);
    FIELD(bGravityOn);
    FIELD(bCarInTheAir);
    FIELD(bTakeOffArmed);
}

void collectTransformsAndParameters(Collector& to, const std::string& prefix, cCarCam& from) {
    FIELD(qTransCarAbsIncr);
    FIELD(qTransCarAbsIncr_prev);
    FIELD(qTransCarStart);
    FIELD(vGravityDir);
    FIELD(qGravity);
    FIELD(QGravityFilterMem);
    FIELD(fGravity);
    FIELD(dVelRelMaxSteeringChangeVel);
    FIELD(dBurnoutShake);
    FIELD(dBurnoutTiltForce);
    FIELD(dBurnoutFadeoutFactor);
    FIELD(dSpeedDependentTurnRadiusReductionFactor);
    FIELD(dSteeringNoise);
    FIELD(bStiffnessBoosted);
    FIELD(dSkidBrakeRotBrakeMult);
    FIELD(dWorldAvoidanceSphereRadius);
    FIELD(iRandomSeedAdder);
    FIELD(dSkidBrakeStopFactor);
    FIELD(dSkiddingReleaseResponseFactor);
    FIELD(dTurnBase);
    FIELD(dTurnBaseSpare);
    FIELD(fBodyRestHeight);
    FIELD(fBodyHeight);
    FIELD(fBodyWidth);
    FIELD(fBodyLength);
    FIELD(dSpringLimitMult);
    FIELD(dSpringLimitSpare);
    FIELD(fMassMult);
    FIELD(fStiffnessFront);
    FIELD(fDampingFront);
    FIELD(fStiffnessBack);
    FIELD(fDampingBack);
    FIELD(dSpringIntegralGain);
    FIELD(dGravelRoughness);
    FIELD(dWheelRadiusMult);
}

void collectClosingFields(Collector& to, const std::string& prefix, cCarCam& from) {
    FIELD(qTransCarAbs);
    FIELD(vWorldAcceleration);
    FIELD(vLocalAcceleration);
    FIELD(fFrontAxleZ);
    FIELD(dBrakeStartValue);
    FIELD(bBrakeArmed);
}

#undef FIELD

template <class T, std::size_t N>
void collectArray(Collector& to, const std::string& name, T (&entries)[N]) {
    for (std::size_t i = 0; i < N; ++i) collect(to, name + "[" + std::to_string(i) + "].", entries[i]);
}

std::string describe(const FieldValue& value) {
    char text[64];
    if (const double* x = std::get_if<double>(&value)) {
        std::snprintf(text, sizeof text, "%.17g", *x);
    } else if (const bool* flag = std::get_if<bool>(&value)) {
        return *flag ? "true" : "false";
    } else {
        std::snprintf(text, sizeof text, "%d", std::get<std::int32_t>(value));
    }
    return text;
}

FieldValue current(const Field& field) {
    return std::visit([](auto* pointer) { return FieldValue(*pointer); }, field.pointer);
}

std::string lastName(const std::string& path) {
    const std::size_t dot = path.rfind('.');
    return dot == std::string::npos ? path : path.substr(dot + 1);
}

/// Largest magnitude among the expected components of the field's group.
double groupSize(const Field& field, const std::map<std::string, FieldValue>& expected) {
    if (field.group == field.path) return std::abs(std::get<double>(expected.at(field.path)));
    double size = 0.0;
    for (const char* component : {".x", ".y", ".z", ".w"}) {
        const auto found = expected.find(field.group + component);
        if (found != expected.end()) size = std::max(size, std::abs(std::get<double>(found->second)));
    }
    return size;
}

double allowance(const Field& field, const std::map<std::string, FieldValue>& expected, const Tolerances& tolerances) {
    const auto floor = tolerances.floors.find(lastName(field.group));
    const double least = floor == tolerances.floors.end() ? tolerances.floor : floor->second;
    return tolerances.tolerance * std::max(groupSize(field, expected), least);
}

}  // namespace

CarFields::CarFields(cCarCam& car) {
    Collector to(fields_);
    collectSteppingAndSkidBrake(to, "", car);
    collectAirAndModes(to, "", car);
    collectTransformsAndParameters(to, "", car);
    collectClosingFields(to, "", car);
    collectArray(to, "wheelGeom", car.wheelGeom);
    collectArray(to, "pcInput", car.pcInput);
    collect(to, "cCarBody.", car.cCarBody);
    collectArray(to, "pcWheel", car.pcWheel);
    for (std::size_t i = 0; i < fields_.size(); ++i) index_[fields_[i].path] = i;
}

const Field& CarFields::at(const std::string& path) const {
    const auto found = index_.find(path);
    if (found == index_.end()) throw std::runtime_error("the record has no field " + path);
    return fields_[found->second];
}

FieldValue valueFor(const Field& field, const Value& value) {
    if (std::holds_alternative<double*>(field.pointer)) return value.number();
    if (std::holds_alternative<bool*>(field.pointer)) return value.flag();
    const std::int64_t wide = value.integer();
    if (wide < std::numeric_limits<std::int32_t>::min() || wide > std::numeric_limits<std::int32_t>::max()) {
        throw std::runtime_error("too large for " + field.path);
    }
    return static_cast<std::int32_t>(wide);
}

void CarFields::set(const Value& values) const {
    for (const auto& [path, value] : values.members()) {
        const Field& field = at(path);
        const FieldValue typed = valueFor(field, value);
        std::visit([&typed](auto* pointer) { *pointer = std::get<std::remove_pointer_t<decltype(pointer)>>(typed); },
                   field.pointer);
    }
}

std::map<std::string, FieldValue> CarFields::snapshot() const {
    std::map<std::string, FieldValue> out;
    for (const Field& field : fields_) out[field.path] = current(field);
    return out;
}

Tolerances Tolerances::fromHeader(const Value& header) {
    Tolerances out{header["tolerance"].number(), header["floor"].number(), {}};
    for (const auto& [name, value] : header["floors"].members()) out.floors[name] = value.number();
    return out;
}

std::string differences(const CarFields& actual, const std::map<std::string, FieldValue>& expected,
                        const Tolerances& tolerances, const std::vector<std::string>& paths) {
    std::string out;
    int found = 0;
    const auto compare = [&](const Field& field) {
        const FieldValue want = expected.at(field.path);
        const FieldValue have = current(field);
        bool good = want == have;
        if (!good && std::holds_alternative<double>(want)) {
            good = std::abs(std::get<double>(have) - std::get<double>(want)) <= allowance(field, expected, tolerances);
        }
        if (good || ++found > 10) return;
        out += field.path + ": expected " + describe(want) + ", is " + describe(have) + "\n";
    };
    if (paths.empty()) {
        for (const Field& field : actual.all()) compare(field);
    } else {
        for (const std::string& path : paths) compare(actual.at(path));
    }
    if (found > 10) out += "... " + std::to_string(found) + " fields differ\n";
    return out;
}

}  // namespace golden
