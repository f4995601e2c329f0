// A fault of the validator as posctl shows it: at its place in the source.
#ifndef POSCTL_FAULT_REPORT_H_
#define POSCTL_FAULT_REPORT_H_

#include <string>

#include "fault_locator.h"
#include "input_source.h"

namespace posctl {

// "FILE:LINE:COLUMN: error: MESSAGE", the line and a caret at `place`; when
// the place is only the nearest enclosing value, a note after it says so.
std::string FormatFault(const InputSource& input, const FaultPlace& place,
                        const std::string& message, const std::string& severity = "error");

}  // namespace posctl

#endif  // POSCTL_FAULT_REPORT_H_
