#include "command/Nearest.h"

#include <algorithm>
#include <limits>

namespace ond::command {

std::string lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

int editDistance(const std::string& left, const std::string& right) {
    const std::string a = lower(left);
    const std::string b = lower(right);
    // Rows for the first i - 2, i - 1 and i letters of a.
    std::vector<int> before(b.size() + 1);
    std::vector<int> last(b.size() + 1);
    std::vector<int> row(b.size() + 1);
    for (std::size_t k = 0; k <= b.size(); ++k) last[k] = static_cast<int>(k);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = static_cast<int>(i);
        for (std::size_t k = 1; k <= b.size(); ++k) {
            const int change = a[i - 1] == b[k - 1] ? 0 : 1;
            row[k] = std::min({last[k] + 1, row[k - 1] + 1, last[k - 1] + change});
            if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1])
                row[k] = std::min(row[k], before[k - 2] + 1);
        }
        before.swap(last);
        last.swap(row);
    }
    return last[b.size()];
}

namespace {

/// Small for words that are near; never below 0.
int remoteness(const std::string& word, const std::string& known) {
    int distance = editDistance(word, known);
    if (word.size() >= 3 && lower(known).find(lower(word)) != std::string::npos)
        distance = std::min(distance, 1 + static_cast<int>(known.size() - word.size()) / 8);
    return distance;
}

}  // namespace

std::string nearest(const std::string& word, const std::vector<std::string>& known) {
    std::string best;
    int least = std::numeric_limits<int>::max();
    for (const std::string& candidate : known) {
        const int distance = remoteness(word, candidate);
        if (distance >= least || distance > std::max<int>(2, static_cast<int>(candidate.size()) * 2 / 5)) continue;
        least = distance;
        best = candidate;
    }
    return best;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& known) {
    const std::string best = nearest(word, known);
    return best.empty() ? std::string() : "; did you mean '" + best + "'?";
}

std::string enumerated(const std::vector<std::string>& words, const std::string& joint) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i)
        text += (i == 0 ? std::string() : i + 1 == words.size() ? " " + joint + " " : ", ") + words[i];
    return text;
}

}  // namespace ond::command
