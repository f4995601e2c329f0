#include "nearest_name.h"

#include <algorithm>

namespace posctl {

size_t EditDistance(std::string_view a, std::string_view b) {
  // Three rows of the table: two back for a swap of neighbours.
  std::vector<size_t> before(b.size() + 1), previous(b.size() + 1), row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) previous[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
      row[j] = std::min({previous[j] + 1, row[j - 1] + 1, previous[j - 1] + change});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
    std::swap(before, previous);
    std::swap(previous, row);
  }
  return previous[b.size()];
}

std::string NearestName(std::string_view name, const std::vector<std::string>& candidates) {
  const size_t allowed = name.size() <= 5 ? 1 : 2;
  std::string nearest;
  size_t best = allowed + 1;
  for (const std::string& candidate : candidates) {
    const size_t distance = EditDistance(name, candidate);
    if (distance == 0) return "";  // a known name is no typo
    if (distance < best) {
      best = distance;
      nearest = candidate;
    }
  }
  return nearest;
}

}  // namespace posctl
