// Where the frames of a vehicle put its elements, changed on the way to the host, for NearlyTheCar.cpp.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "ond/ovs/TransformObject.h"
#include "ond/util/Matrix4.h"

namespace ond::test {

/// Remembers what was set in a run, so that a misplacement can lean on it.
class CarMoves {
  public:
    /// Another run begins.
    void begin() {
        m_places.clear();
        ++m_runs;
    }
    /// What an element is set to in place of `matrix`.
    [[nodiscard]] util::Matrix4 misplaced(const std::string& element, const util::Matrix4& matrix);
    /// What the vehicle reads of an element in place of `matrix`.
    [[nodiscard]] static util::Matrix4 misread(const std::string& element, const util::Matrix4& matrix);

  private:
    struct Place {
        util::Matrix4 first, last;
        int sets = 0;
    };
    [[nodiscard]] util::Matrix4 misplacedBody(const Place& body, const util::Matrix4& matrix) const;
    [[nodiscard]] util::Matrix4 misplacedWheel(const std::string& element, const Place& wheel,
                                               const util::Matrix4& matrix) const;

    std::map<std::string, Place> m_places;
    int m_runs = 0;
};

/// A transform of the host's whose element is put elsewhere.
class MisplacingTransform final : public ovs::TransformObject {
  public:
    /// All outlive it.
    MisplacingTransform(CarMoves& moves, std::string element, ovs::TransformObject* inner)
        : m_moves(moves), m_element(std::move(element)), m_inner(inner) {}
    [[nodiscard]] ovs::TransformObject* inner() const { return m_inner; }

    void readLocalMatrix(util::Matrix4& out) override { m_inner->readLocalMatrix(out); }
    void setLocalMatrix(const util::Matrix4& matrix) override {
        m_inner->setLocalMatrix(m_moves.misplaced(m_element, matrix));
    }
    void readWorldMatrix(util::Matrix4& out) override {
        m_inner->readWorldMatrix(out);
        out = CarMoves::misread(m_element, out);
    }
    void setWorldMatrix(const util::Matrix4& matrix) override {
        m_inner->setWorldMatrix(m_moves.misplaced(m_element, matrix));
    }

  private:
    CarMoves& m_moves;
    std::string m_element;
    ovs::TransformObject* m_inner;
};

}  // namespace ond::test
