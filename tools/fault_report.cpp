#include "fault_report.h"

#include "diagnostics.h"

namespace posctl {

std::string FormatFault(const InputSource& input, const FaultPlace& place,
                        const std::string& message, const std::string& severity) {
  std::string text = FormatAt(input, place.at, message, severity);
  if (!place.exact) {
    text += input.name() + ":" + std::to_string(place.at.line) + ":" +
            std::to_string(place.at.column) + ": note: '" + Printable(place.unfollowed) +
            "' leads nowhere in the source; the caret marks the nearest value that encloses it\n";
  }
  return text;
}

}  // namespace posctl
