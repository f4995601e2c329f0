// The library's TypeA reader says what went wrong in its own internal terms
// ("StreamerBase::LookupStreamer unrecognized version"); posctl says it in
// the user's, at the place in the input that the message is about.
#ifndef POSCTL_TYPEA_ERRORS_H_
#define POSCTL_TYPEA_ERRORS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "input_source.h"

namespace posctl {

struct TypeAFailure {
  uint64_t offset = 0;  // where to put the caret
  std::string message;
};

// `reports` are what the library reported while it read the stream that
// begins at `start`; it stopped reading at `stop`.
TypeAFailure ExplainTypeAFailure(const std::vector<std::string>& reports, const InputSource& input,
                                 uint64_t start, uint64_t stop);

}  // namespace posctl

#endif  // POSCTL_TYPEA_ERRORS_H_
