// Whether a schema is well formed: the schema is validated as data against
// the meta-schema (meta_schema.h) under the type "StructSchema", with one
// callback that proves each type name it uses to be defined.
//
// Nothing is kept between calls: each check parses the meta-schema anew,
// builds the table of known names and a validator, and drops them.
#ifndef MOXUTILS_VALIDATOR_SCHEMA_CHECK_H_
#define MOXUTILS_VALIDATOR_SCHEMA_CHECK_H_

#include <cstdint>

#include "MOXTypes.h"
#include "POSValidatorProcs.h"
#include "pos/pos_client.h"

namespace NPOSValidatorImpl {

// True when `schema` is a value of "StructSchema". On false the lines go to
// `errorProc` (may be null) exactly as from Validate, with the prefixes of
// the meta-schema's own walk. Raises POSException "CreateFromText failed"
// when the meta-schema can't be parsed, and lets every other exception of
// the check through; an empty `schema` raises "invalid container".
bool ValidateSchemaAgainstMeta(const MOX_T_MT::CPOSDict& schema, POSValidatorErrorProc errorProc);

// The callback of the meta-schema's "TypeName": accepts a name found in the
// POSDict whose holder `clientData` points at. Otherwise writes "Cannot
// locate definition of type " and the name to `textBuffer` and rejects. It
// lets no exception out: the exception's text goes to the buffer instead,
// after "Caught exception: ", and the name is rejected.
uint32_t TypeNameExists(MOXContainer value, MOXStringAtom typeName, MOXSharedBuff textBuffer,
                        void* clientData);

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_SCHEMA_CHECK_H_
