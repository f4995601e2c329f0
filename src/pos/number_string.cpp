#include "pos/number_string.h"

namespace NPOSObjectImpl {

namespace {
const char* CheckedText(const char* text) {
  if (text == nullptr) throw POSException(kNullArgument);
  return text;
}
}  // namespace

String::String(const char* text) : fText(CheckedText(text)) {}

}  // namespace NPOSObjectImpl
