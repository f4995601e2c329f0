// The meta-schema: the schema that the library's ValidateSchema checks a
// schema against, a public text of the schema language. posctl reads it to
// follow the paths of the check's fault lines, as it follows those of any
// other schema.
#ifndef POSCTL_META_SCHEMA_H_
#define POSCTL_META_SCHEMA_H_

namespace posctl {

extern const char kMetaSchemaText[];
// The meta-schema's type of a whole schema.
constexpr char kSchemaTypeName[] = "StructSchema";

}  // namespace posctl

#endif  // POSCTL_META_SCHEMA_H_
