/*
 * POSValidatorProcs.h: the structure validator, which checks a POS object
 * tree against a schema of named types and reports every fault as one line
 * of text with its full path.
 *
 * Two interfaces, each defined once below by its name and its list of
 * methods in slot order, X(MethodName, ProcType):
 *
 *   POSStructValidatorInterface  NewPOSStructValidator, RegisterCallbackProc,
 *                                ValidateSchema
 *   POSValidatorInterface        Validate
 *
 * A schema is a POSDict from type names to type definitions, usually written
 * in the text notation of CreateFromText:
 *
 *   < Point < category dict required < x real > optional < y Small > >
 *     Small < category int max 9 > >
 *
 * Ownership. Handles passed in are borrowed: the methods take their own
 * references for as long as they need them. A validator comes back unowned,
 * as every handle of the library does; a caller that keeps it calls AddRef
 * of "MOXContainerInterface". A validator holds a counted reference to its
 * schema, not a copy: later changes to that POSDict are seen by later calls.
 *
 * Threads. Validate may run on one validator from any number of threads at
 * once, as long as nobody changes the schema or the value meanwhile.
 * RegisterCallbackProc must run alone: no other call on the same validator
 * beside it, and not from inside an error or callback procedure.
 *
 * Failures. NewPOSStructValidator, RegisterCallbackProc and Validate never
 * raise: a failure is sent to MOXReportError and the method returns null or
 * false. ValidateSchema deliberately has no such guard: its C++ exceptions
 * (std::exception and its kin) reach the caller, who must catch them.
 */
#ifndef MOXUTILS_POSVALIDATORPROCS_H_
#define MOXUTILS_POSVALIDATORPROCS_H_

#include "MOXTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Procedures given by the client ------------------------------------ */

/* Receives one error line. `line` is valid only during the call. Called on
 * the thread that called Validate or ValidateSchema, after the walk has
 * ended, once per line in order; never on success. */
typedef void (*POSValidatorErrorProc)(const char* line);

/* A client check of a named type, registered with RegisterCallbackProc. It
 * runs on the calling thread, only for values that already passed the type's
 * definition, once each time the walk reaches the name. `value` and
 * `typeName` are borrowed for the call. To reject, write a zero-terminated
 * text of at most GetSize(textBuffer) bytes, the zero included, at
 * GetBuffer(textBuffer) of "MOXSharedBuffInterface" and return 0: that text
 * becomes the error line. Any other result accepts the value. The buffer is
 * borrowed; AddRef it to keep it beyond the call. `clientData` is what was
 * registered, untouched by the validator. */
typedef uint32_t (*POSStructValidatorCallbackProc)(MOXContainer value, MOXStringAtom typeName,
                                                   MOXSharedBuff textBuffer, void* clientData);

/* ---- POSStructValidatorInterface ---------------------------------------- */

/* A new validator of `schema`, unowned; null on failure. The schema is not
 * checked: a malformed one shows in later Validate calls. A handle that is
 * not a POSDict gives a validator that knows the built-in names only. */
typedef MOXContainer (*POSStructValidatorNewStructValidatorProc)(MOXContainer schema);
/* Makes `callback` the client check of the type `typeName`, replacing an
 * earlier registration under the same name; a null `callback` removes the
 * check in effect. Callbacks of the built-in names are never called. */
typedef void (*POSStructValidatorRegisterCallbackProc)(MOXContainer validator,
                                                       MOXStringAtom typeName,
                                                       POSStructValidatorCallbackProc callback,
                                                       void* clientData);
/* True when `schema` is a well-formed schema, every type name in it known.
 * Otherwise false, and `errorProc`, when non-null, receives the lines of the
 * check. Raises C++ exceptions instead of reporting them (see above). */
typedef bool (*POSStructValidatorValidateSchemaProc)(MOXContainer schema,
                                                     POSValidatorErrorProc errorProc);

#define POS_STRUCT_VALIDATOR_INTERFACE_NAME "POSStructValidatorInterface"
#define POS_STRUCT_VALIDATOR_INTERFACE_METHODS(X)                    \
  X(NewPOSStructValidator, POSStructValidatorNewStructValidatorProc) \
  X(RegisterCallbackProc, POSStructValidatorRegisterCallbackProc)    \
  X(ValidateSchema, POSStructValidatorValidateSchemaProc)

/* ---- POSValidatorInterface ------------------------------------------------ */

/* True when `value` satisfies the type `typeName` of the validator's schema.
 * Otherwise false, and `errorProc`, when non-null, receives one line per
 * fault, each with the path from `typeName` down to the fault. A failure of
 * the walk itself is reported to MOXReportError, and the lines found so far
 * are dropped. */
typedef bool (*POSValidatorValidateProc)(MOXContainer validator, MOXContainer value,
                                         MOXStringAtom typeName, POSValidatorErrorProc errorProc);

#define POS_VALIDATOR_INTERFACE_NAME "POSValidatorInterface"
#define POS_VALIDATOR_INTERFACE_METHODS(X) X(Validate, POSValidatorValidateProc)

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* MOXUTILS_POSVALIDATORPROCS_H_ */
