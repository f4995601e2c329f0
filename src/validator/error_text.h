// How the validator makes its lines. A line is zero or more prefixes, each
// followed by one blank, then one message; the outermost prefix comes first.
// Lines move up the walk only through PrefixErrors, which formats each line
// anew under the prefix of the level it passes, so one deep fault becomes one
// line with its whole path.
#ifndef MOXUTILS_VALIDATOR_ERROR_TEXT_H_
#define MOXUTILS_VALIDATOR_ERROR_TEXT_H_

#include <cstddef>

#include "binding/errors.h"
#include "binding/string_holder.h"
#include "pos/pos_client.h"

namespace NPOSValidatorImpl {

// The longest text FormatIntoPOSString accepts, in characters.
constexpr size_t kFormatLimit = 1024;

// A new String of the text that `format` and the arguments give, as vsprintf
// formats them. A text of more than kFormatLimit characters raises
// TOVException "FormatIntoPOSString overwrote buffer"; exactly kFormatLimit
// passes. The formatting buffer comes from the runtime's memory and goes back
// on every path.
MOX_T_MT::CPOSString FormatIntoPOSString(const char* format, ...)
    __attribute__((format(printf, 1, 2)));

// Appends to `destination`, in order, each line of `source` as "prefix line".
// The source's count is read anew before each line. An empty source adds
// nothing. A member that is not a String raises its downcast text.
void PrefixErrors(const MOX_T_MT::CPOSArray& destination, const MOX_T_MT::CPOSArray& source,
                  const MOX_T_MT::CPOSString& prefix);

// A TOVException whose text was made at run time: it holds a reference to the
// atom of that text, so what() stays valid for as long as the exception lives,
// through the report at the entry point.
class TOVFormattedException : public TOVException {
 public:
  explicit TOVFormattedException(CMOXStringHolder text) noexcept
      : TOVException(text.CString()), fText(static_cast<CMOXStringHolder&&>(text)) {}
  TOVFormattedException(const TOVFormattedException& other) noexcept
      : TOVException(other), fText(other.fText) {}
  TOVFormattedException& operator=(const TOVFormattedException&) = delete;

 private:
  CMOXStringHolder fText;
};

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_ERROR_TEXT_H_
