// "Did you mean ...?": the known name nearest to one that is unknown.
#ifndef POSCTL_NEAREST_NAME_H_
#define POSCTL_NEAREST_NAME_H_

#include <string>
#include <string_view>
#include <vector>

namespace posctl {

// The number of single-character edits between `a` and `b`, where swapping
// two neighbours counts as one edit: "maxlne" is one edit from "maxlen".
size_t EditDistance(std::string_view a, std::string_view b);

// The candidate nearest to `name` when it is near enough to be a typo of
// it: one edit in a name of up to five characters, two in a longer one. Of
// equally near candidates the first. Empty when none is.
std::string NearestName(std::string_view name, const std::vector<std::string>& candidates);

}  // namespace posctl

#endif  // POSCTL_NEAREST_NAME_H_
