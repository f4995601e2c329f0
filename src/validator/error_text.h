// How the validator makes its lines. A line is zero or more prefixes, each
// followed by one blank, then one message; the outermost prefix comes first.
// Lines get their path only through PrefixErrors, which formats each line
// anew under the prefix of each level it passes, so one deep fault becomes
// one line with its whole path.
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

// Makes each line of `lines` from index `first` on "prefix line", in place
// and in order: a level of the walk gathers its children's lines in the list
// of its own and puts its prefix before those of each child that failed. The
// count is read anew before each line. A member that is not a String raises
// its downcast text.
void PrefixErrors(const MOX_T_MT::CPOSArray& lines, uint32_t first,
                  const MOX_T_MT::CPOSString& prefix);

// Removes the lines from index `first` on: what the tried members of a union
// said, once one of them fits.
void DropErrors(const MOX_T_MT::CPOSArray& lines, uint32_t first);

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
