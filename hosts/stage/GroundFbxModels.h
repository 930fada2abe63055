// How the models of an .fbx file lie in each other, by its connections.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace ond::stage {

/// Most models around one that are read, itself included.
inline constexpr std::size_t kMostFbxModelDepth = 1000;
/// Most places of models: one with two parents, which no exporter writes, is in two places, as is all below it.
inline constexpr std::uint64_t kMostFbxPlaces = 1'000'000;

/// Collects the models and their connections, and checks them before the importer library goes through them by
/// recursion, which would run out of stack or memory.
class FbxModels {
  public:
    /// How many values of a record take() looks at.
    static constexpr std::size_t kValues = 4;

    /// Whether take() looks at records of that name.
    [[nodiscard]] static bool wants(std::string_view name);
    /// Takes any record with its first values: texts without their quotes, numbers in decimal notation.
    /// Throws GroundError, without the name of the file, for a number that is too large.
    void take(std::string_view name, const std::vector<std::string>& values);
    /// Checks all that have been taken. Throws GroundError, without the name of the file.
    void check() const;

  private:
    std::unordered_set<std::uint64_t> m_models;
    /// Numbers of a child and its parent, of any kind.
    std::vector<std::pair<std::uint64_t, std::uint64_t>> m_links;
};

}  // namespace ond::stage
