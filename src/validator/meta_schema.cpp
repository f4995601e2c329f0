#include "validator/meta_schema.h"

#include <cstddef>

#include "POSValidatorProcs.h"

namespace NPOSValidatorImpl {

// The published text, which components read too: one line of 2175 bytes,
// tabs and all. Blanks matter nowhere in the notation, but the text is a
// public contract and stays exactly as published.
constexpr char MetaSchemaText[] = POS_STRUCT_VALIDATOR_META_SCHEMA_TEXT;

namespace {
constexpr size_t CountOf(const char* text, char c) {
  size_t n = 0;
  for (; *text != 0; ++text) n += *text == c ? 1 : 0;
  return n;
}
}  // namespace

static_assert(sizeof(MetaSchemaText) == 2175 + 1, "the meta-schema is 2175 bytes");
static_assert(CountOf(MetaSchemaText, '\t') == 94, "with its 94 tabs");

}  // namespace NPOSValidatorImpl
