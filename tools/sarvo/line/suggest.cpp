// Edit distance with swaps of neighbours (F. J. Damerau 1964), and the suggestion made from it.
#include "line/suggest.h"

#include <algorithm>

namespace command {
namespace {

size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); i++)
        for (size_t j = 0; j <= b.size(); j++) {
            if (i == 0 || j == 0) {
                d[i][j] = i + j;
                continue;
            }
            const size_t change = d[i - 1][j - 1] + (a[i - 1] != b[j - 1]);
            d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
        }
    return d[a.size()][b.size()];
}

} // namespace

std::string nearest(std::string_view word, const std::vector<std::string> &candidates) {
    // A slip in a short word, two from 6 letters on, three from 10.
    const size_t accepted = word.size() < 6 ? 1 : word.size() < 10 ? 2 : 3;
    std::string best;
    size_t least = accepted + 1;
    for (const std::string &candidate : candidates) {
        const size_t longer = std::max(word.size(), candidate.size()),
                     shorter = std::min(word.size(), candidate.size());
        if (longer - shorter >= least) continue; // so many edits are needed for the length alone
        const size_t edits = distance(word, candidate);
        if (edits < least && edits < candidate.size()) {
            least = edits;
            best = candidate;
        }
    }
    return best;
}

std::string suggestion(std::string_view word, const std::vector<std::string> &candidates) {
    const std::string best = nearest(word, candidates);
    return best.empty() ? "" : " Did you mean '" + best + "'?";
}

} // namespace command
