#include "stage/Track.h"

#include <algorithm>

#include "ond/util/Quat.h"
#include "ond/util/Vector3.h"

namespace ond::stage {

using util::Matrix4;
using util::Quat;
using util::Vector3;

namespace {

Matrix4 between(const TrackKey& a, const TrackKey& b, double time) {
    if (a.local == b.local) return a.local;
    const double t = (time - a.time) / (b.time - a.time);
    const Vector3<double> scaleA = util::Scale(a.local);
    const Vector3<double> scaleB = util::Scale(b.local);
    const Quat<double> from = Quat<double>::FromMatrix(a.local);
    Quat<double> to = Quat<double>::FromMatrix(b.local);
    if (util::Dot4(from, to) < 0.0) util::Negate(to);
    Matrix4 m = util::ToMatrix(util::Normalized(util::Slerp(from, to, t)));
    util::SetScale(m, scaleA + (scaleB - scaleA) * t);
    m.setRow(3, a.local.row(3) + (b.local.row(3) - a.local.row(3)) * t);
    return m;
}

}  // namespace

Matrix4 Track::at(double time, double snap) const {
    if (keys.empty()) return pose;
    const auto next = std::lower_bound(keys.begin(), keys.end(), time - snap,
                                       [](const TrackKey& key, double t) { return key.time < t; });
    if (next == keys.end()) return keys.back().local;
    if (next == keys.begin() || next->time <= time + snap) return next->local;
    return between(*(next - 1), *next, time);
}

TrackKey* Track::keyAt(double time, double snap) {
    const auto next = std::lower_bound(keys.begin(), keys.end(), time - snap,
                                       [](const TrackKey& key, double t) { return key.time < t; });
    return next != keys.end() && next->time <= time + snap ? &*next : nullptr;
}

void Track::setKey(double time, const Matrix4& local, double snap, long pass) {
    if (TrackKey* key = keyAt(time, snap)) {
        key->local = local;
        key->pass = pass;
        return;
    }
    const auto behind =
        std::upper_bound(keys.begin(), keys.end(), time, [](double t, const TrackKey& key) { return t < key.time; });
    keys.insert(behind, TrackKey{time, local, pass});
}

bool Track::hasKeyUpTo(double time, double snap) const { return !keys.empty() && keys.front().time <= time + snap; }

void Track::removeBetween(double after, double before, double snap, long pass) {
    const auto first = std::lower_bound(keys.begin(), keys.end(), after + snap,
                                        [](const TrackKey& key, double t) { return key.time <= t; });
    const auto last =
        std::lower_bound(first, keys.end(), before - snap, [](const TrackKey& key, double t) { return key.time < t; });
    keys.erase(std::remove_if(first, last, [&](const TrackKey& key) { return key.pass != pass; }), last);
}

void Track::removeBehind(double time, double snap) {
    while (!keys.empty() && keys.back().time > time + snap) keys.pop_back();
}

}  // namespace ond::stage
