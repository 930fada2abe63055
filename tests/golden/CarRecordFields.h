// The car record as a flat list of fields by path ("pcInput[3].value", "cCarBody.qTransRel.rotation.x"), and the
// comparison of two such records.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "GoldenFile.h"
#include "car/CarState.h"

namespace golden {

using FieldPointer = std::variant<double*, bool*, std::int32_t*>;
using FieldValue = std::variant<double, bool, std::int32_t>;

struct Field {
    std::string path;
    std::string group;  ///< the vector or quaternion that the field is a component of, or the path itself
    FieldPointer pointer;
};

/// Every field of one record, in no particular order; the pointers are those of `car`.
class CarFields {
  public:
    explicit CarFields(ond::ovs::addon::cCarCam& car);

    [[nodiscard]] const std::vector<Field>& all() const { return fields_; }
    /// Throws std::runtime_error for a path that the record does not have.
    [[nodiscard]] const Field& at(const std::string& path) const;
    /// Sets each field that `values` names.
    void set(const Value& values) const;
    [[nodiscard]] std::map<std::string, FieldValue> snapshot() const;

  private:
    std::vector<Field> fields_;
    std::map<std::string, std::size_t> index_;
};

/// How far a double may be off: `tolerance` times the largest of its magnitude, the magnitudes of the other components
/// of its vector or quaternion, and a floor by field name. Integers and flags are compared exactly.
struct Tolerances {
    double tolerance;
    double floor;
    std::map<std::string, double> floors;

    /// From a golden file's first line.
    static Tolerances fromHeader(const Value& header);
};

/// The golden value as the kind of the field.
[[nodiscard]] FieldValue valueFor(const Field& field, const Value& value);

/// One line per field of `paths` (all fields if empty) that is not as expected; empty if all are. Names at most ten.
[[nodiscard]] std::string differences(const CarFields& actual, const std::map<std::string, FieldValue>& expected,
                                      const Tolerances& tolerances, const std::vector<std::string>& paths = {});

}  // namespace golden
