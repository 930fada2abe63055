// The smoothing filters over single-precision values.
#include <gtest/gtest.h>

#include "ond/util/Filters.h"

namespace ond::util {
namespace {

TEST(Filters, WorkInSinglePrecision) {
    float f = 0.0f;
    FilterExact(f, 16.0f, 0.5f, 1.0f, 0.02f);
    EXPECT_NEAR(f, 4.0f, 1e-5f);
    f = 0.0f;
    FilterSaturating(f, 16.0f, 0.5f, 1.0f, 0.02f);
    EXPECT_NEAR(f, 4.0f, 1e-5f);
    Vector3<float> v;
    FilterExact(v, Vector3<float>(16.0f, 0.0f, 0.0f), 0.5f, 1.0f, 0.02f);
    FilterSaturating(v, Vector3<float>(16.0f, 0.0f, 0.0f), 0.0f, 1.0f, 0.02f);
    EXPECT_EQ(v.x, 16.0f);
    Quat<float> q;
    Quat<float> t(0.0f, -0.6f, 0.0f, -0.8f);
    FilterExact(q, t, 1.0f, 1.0f, 0.02f);
    FilterSaturating(q, t, 0.0f, 1.0f, 0.02f);
    EXPECT_EQ(t.w, 0.8f);
    FilterQuatPid(q, q, q, t, 0.5f, 0.0f, 0.0f, 0.02f);
    EXPECT_NEAR(q.y, 0.6f, 1e-6f);
}

}  // namespace
}  // namespace ond::util
