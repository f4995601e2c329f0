// The meta-schema: the schema that every schema must satisfy, itself written
// in the text notation. A schema is valid when it is a value of the type
// "StructSchema" here; ValidateSchema checks exactly that, and proves on the
// way that every type name a schema uses is defined (see schema_check.h).
//
// The walker and this text do not agree everywhere (for instance, the text
// knows a category "objref" that the walker refuses, and no "rawptr", which
// the walker accepts). Both readers stay as they are: the text is a public
// contract, byte for byte.
#ifndef MOXUTILS_VALIDATOR_META_SCHEMA_H_
#define MOXUTILS_VALIDATOR_META_SCHEMA_H_

namespace NPOSValidatorImpl {

// 2175 bytes in one line, tabs kept, for CreateFromText.
extern const char MetaSchemaText[];

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_META_SCHEMA_H_
