#include "state/SavedRecordFields.h"

#include <algorithm>
#include <array>
#include <utility>

#include "CCarCamObject.h"
#include "ond/util/LittleEndian.h"

namespace ond::ovs::addon {

namespace {

using Vehicle = CCarCamObject;
using Record = DataChunkSaveStruct;

/// A number of the record and the field that it mirrors.
struct NumberRow {
    double& (*stored)(Record& record);
    double& (*live)(Vehicle& vehicle);
};
/// A flag of the record and the field that it mirrors.
struct FlagRow {
    bool Record::*stored;
    bool Vehicle::*live;
};

template <int index>
constexpr NumberRow response() {
    return {[](Record& r) -> double& { return r.response[index]; },
            [](Vehicle& v) -> double& { return v.cCarCam.pcInput[index].response; }};
}
template <int index>
constexpr NumberRow maximum() {
    return {[](Record& r) -> double& { return r.maximum[index]; },
            [](Vehicle& v) -> double& { return v.cCarCam.pcInput[index].maximum; }};
}
template <double Record::*stored, double cCarCam::*live>
constexpr NumberRow number() {
    return {[](Record& r) -> double& { return r.*stored; }, [](Vehicle& v) -> double& { return v.cCarCam.*live; }};
}
template <int wheel, double WheelGeometry::*field>
constexpr NumberRow geometry() {
    return {[](Record& r) -> double& { return r.wheelGeom[wheel].*field; },
            [](Vehicle& v) -> double& { return v.cCarCam.wheelGeom[wheel].*field; }};
}

constexpr std::array<FlagRow, 8> kFlags = {{
    {&Record::bFreshStart, &Vehicle::bFreshStart},
    {&Record::bHideHelpersDuringRecording, &Vehicle::bHideHelpersDuringRecording},
    {&Record::bHideHelpers, &Vehicle::bHideHelpers},
    {&Record::bHideTopViewCamera, &Vehicle::bHideTopViewCamera},
    {&Record::bHideDriverCamera, &Vehicle::bHideDriverCamera},
    {&Record::bHideFollowCamera, &Vehicle::bHideFollowCamera},
    {&Record::bSpareFlag, &Vehicle::bSpareFlag},
    {&Record::bWireframeMode, &Vehicle::bWireframeMode},
}};

/// The numbers, by rising offset.
constexpr auto kNumbers = std::to_array<NumberRow>({
    response<0>(),
    response<1>(),
    response<2>(),
    response<3>(),
    response<4>(),
    response<5>(),
    response<6>(),
    response<7>(),
    response<8>(),
    maximum<0>(),
    maximum<1>(),
    maximum<2>(),
    maximum<3>(),
    maximum<4>(),
    maximum<5>(),
    maximum<6>(),
    maximum<7>(),
    maximum<8>(),
    number<&Record::dSkidBrakeStopFactor, &cCarCam::dSkidBrakeStopFactor>(),
    number<&Record::dSkiddingReleaseResponseFactor, &cCarCam::dSkiddingReleaseResponseFactor>(),
    number<&Record::dTurnBase, &cCarCam::dTurnBase>(),
    number<&Record::dTurnBaseSpare, &cCarCam::dTurnBaseSpare>(),
    number<&Record::fBodyRestHeight, &cCarCam::fBodyRestHeight>(),
    number<&Record::fBodyHeight, &cCarCam::fBodyHeight>(),
    number<&Record::fBodyWidth, &cCarCam::fBodyWidth>(),
    number<&Record::fBodyLength, &cCarCam::fBodyLength>(),
    geometry<0, &WheelGeometry::radius>(),
    geometry<0, &WheelGeometry::z>(),
    geometry<0, &WheelGeometry::x>(),
    geometry<1, &WheelGeometry::radius>(),
    geometry<1, &WheelGeometry::z>(),
    geometry<1, &WheelGeometry::x>(),
    geometry<2, &WheelGeometry::radius>(),
    geometry<2, &WheelGeometry::z>(),
    geometry<2, &WheelGeometry::x>(),
    geometry<3, &WheelGeometry::radius>(),
    geometry<3, &WheelGeometry::z>(),
    geometry<3, &WheelGeometry::x>(),
    number<&Record::dSpringLimitMult, &cCarCam::dSpringLimitMult>(),
    number<&Record::dSpringLimitSpare, &cCarCam::dSpringLimitSpare>(),
    number<&Record::fMassMult, &cCarCam::fMassMult>(),
    number<&Record::fStiffnessFront, &cCarCam::fStiffnessFront>(),
    number<&Record::fDampingFront, &cCarCam::fDampingFront>(),
    number<&Record::dSpringIntegralGain, &cCarCam::dSpringIntegralGain>(),
    number<&Record::dGravelRoughness, &cCarCam::dGravelRoughness>(),
});
static_assert(kFlags.size() + 8 * kNumbers.size() == kRecordSize);

/// Numbers of the first part: 9 responses, 9 maxima, 2 skid brake factors and the turn base.
constexpr std::size_t kNumbersOfFirstPart = 2 * kNumInputs + 3;

void restoreNumbers(Vehicle& v, std::size_t first, std::size_t last) {
    for (std::size_t i = first; i < last; ++i) kNumbers[i].live(v) = kNumbers[i].stored(v.sDataChunkSaveStruct);
}

}  // namespace

void refreshRecord(CCarCamObject& vehicle) {
    Record& record = vehicle.sDataChunkSaveStruct;
    for (const FlagRow& row : kFlags) record.*row.stored = vehicle.*row.live;
    for (const NumberRow& row : kNumbers) row.stored(record) = row.live(vehicle);
}

void storeRecord(const DataChunkSaveStruct& record, unsigned char* to) {
    Record copy = record;
    for (const FlagRow& row : kFlags) *to++ = copy.*row.stored ? 1 : 0;
    for (const NumberRow& row : kNumbers) {
        util::storeLittleEndian(to, row.stored(copy));
        to += sizeof(double);
    }
}

DataChunkSaveStruct loadRecord(const unsigned char* from) {
    Record record;
    for (const FlagRow& row : kFlags) record.*row.stored = *from++ != 0;
    for (const NumberRow& row : kNumbers) {
        row.stored(record) = util::loadLittleEndian<double>(from);
        from += sizeof(double);
    }
    return record;
}

void restoreFlagsAndChannels(CCarCamObject& vehicle) {
    for (const FlagRow& row : kFlags) vehicle.*row.live = vehicle.sDataChunkSaveStruct.*row.stored;
    restoreNumbers(vehicle, 0, kNumbersOfFirstPart);
}

void restoreDimensions(CCarCamObject& vehicle) { restoreNumbers(vehicle, kNumbersOfFirstPart, kNumbers.size()); }

}  // namespace ond::ovs::addon
