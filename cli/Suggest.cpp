// cli/Suggest.cpp - edit distance between words.
#include "Suggest.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <vector>

namespace varnex3::cli {
namespace {

char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

/// Levenshtein distance without regard to case.
std::size_t distance(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replace = diagonal + (lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replace});
        }
    }
    return row.back();
}

} // namespace

std::string nearest(const std::string& word, const std::set<std::string>& known)
{
    std::string best;
    std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : known) {
        const std::size_t d = distance(word, candidate);
        if (d < least) {
            least = d;
            best = candidate;
        }
    }
    return best;
}

} // namespace varnex3::cli
