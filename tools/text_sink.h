// Where the writers of posctl's text formats send their text, in pieces.
#ifndef POSCTL_TEXT_SINK_H_
#define POSCTL_TEXT_SINK_H_

#include <functional>
#include <string_view>

namespace posctl {

using TextSink = std::function<void(std::string_view)>;

}  // namespace posctl

#endif  // POSCTL_TEXT_SINK_H_
