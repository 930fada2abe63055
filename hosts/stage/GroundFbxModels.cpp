#include "stage/GroundFbxModels.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>
#include <unordered_map>

#include "stage/GroundFile.h"

namespace ond::stage {

namespace {

/// The number at the beginning of a word; nothing if there is none.
std::optional<std::uint64_t> numberOf(std::string_view word) {
    std::uint64_t number = 0;
    const std::from_chars_result result = std::from_chars(word.data(), word.data() + word.size(), number);
    if (result.ec == std::errc::result_out_of_range) {
        throw GroundError("its models have numbers that are too large; export the file again");
    }
    if (result.ec != std::errc()) return std::nullopt;
    return number;
}

/// Goes from the parents to the children, to each model when all its parents are done.
class Descent {
  public:
    void add(std::uint64_t child, std::uint64_t parent) {
        m_nodes[parent].children.push_back(child);
        ++m_nodes[child].openParents;
        ++m_openLinks;
    }

    void run() {
        // The root of the file, which is no record.
        m_nodes[0].places = 1;
        std::vector<std::uint64_t> open;
        for (const auto& [number, node] : m_nodes) {
            if (node.openParents == 0) open.push_back(number);
        }
        while (!open.empty()) {
            const Node& parent = m_nodes[open.back()];
            open.pop_back();
            count(parent);
            for (const std::uint64_t number : parent.children) {
                if (enter(m_nodes[number], parent)) open.push_back(number);
            }
        }
        if (m_openLinks > 0) throw GroundError("its models lie in each other in a circle; export the file again");
    }

  private:
    struct Node {
        std::vector<std::uint64_t> children;
        std::size_t openParents = 0;
        std::size_t depth = 0;
        /// How often the importer library makes it.
        std::uint64_t places = 0;
    };

    void count(const Node& node) {
        m_places += node.places;
        if (m_places <= kMostFbxPlaces) return;
        throw GroundError("its models are in more than " + std::to_string(kMostFbxPlaces) +
                          " places; export the file again");
    }

    /// True if this was the last parent of the child.
    bool enter(Node& child, const Node& parent) {
        --m_openLinks;
        child.depth = std::max(child.depth, parent.depth + 1);
        if (child.depth > kMostFbxModelDepth) {
            throw GroundError("its models lie more than " + std::to_string(kMostFbxModelDepth) +
                              " deep in each other; export the file again");
        }
        // Too many are too many, and their sum would overflow.
        child.places = std::min(child.places + parent.places, kMostFbxPlaces + 1);
        return --child.openParents == 0;
    }

    std::unordered_map<std::uint64_t, Node> m_nodes;
    std::size_t m_openLinks = 0;
    std::uint64_t m_places = 0;
};

}  // namespace

bool FbxModels::wants(std::string_view name) { return name == "Model" || name == "C"; }

void FbxModels::take(std::string_view name, const std::vector<std::string>& values) {
    if (name == "Model" && !values.empty()) {
        const std::optional<std::uint64_t> number = numberOf(values[0]);
        if (number) m_models.insert(*number);
    }
    if (name != "C" || values.size() < 3) return;
    // Connections of properties are none of what lies in what.
    if (values[0] == "PP" || (values[0] == "OP" && values.size() > 3 && !values[3].empty())) return;
    const std::optional<std::uint64_t> child = numberOf(values[1]);
    const std::optional<std::uint64_t> parent = numberOf(values[2]);
    if (child && parent) m_links.emplace_back(*child, *parent);
}

void FbxModels::check() const {
    Descent descent;
    for (const auto& [child, parent] : m_links) {
        if (m_models.contains(child)) descent.add(child, parent);
    }
    descent.run();
}

}  // namespace ond::stage
