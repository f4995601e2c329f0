/*
 * POSValidatorProcs.h: the structure validator, which checks a POS object
 * tree against a schema of named types and reports every fault as one line
 * of text with its full path. Its two interfaces, in the order libMOXUtils
 * registers them:
 *
 *   POSValidatorInterface        Validate
 *   POSStructValidatorInterface  NewPOSStructValidator, RegisterCallbackProc,
 *                                ValidateSchema
 *
 * Each is defined once below by its name and its list of methods in slot
 * order, X(Method, ProcType), as in POSProcs.h.
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
 * Failures. NewPOSStructValidator, RegisterCallbackProc and Validate never
 * raise: a failure is sent to MOXReportError and the method returns null or
 * false. ValidateSchema deliberately has no such guard: its C++ exceptions
 * (std::exception and its kin) reach the caller, who must catch them.
 *
 * Threads: any method may be called from any thread while the library is
 * started. A validator does not change while it validates, so any number of
 * threads may call Validate on one validator at once, each with its own
 * value, as long as nobody changes the schema or the values meanwhile (see
 * POSProcs.h). RegisterCallbackProc changes the validator: it must run alone,
 * with no other call on that validator beside it, and not from inside an
 * error or callback procedure. Validators that share nothing may be used on
 * different threads freely; ValidateSchema shares nothing between calls.
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

/* ---- "POSValidatorInterface" ------------------------------------------ */

#define POS_VALIDATOR_INTERFACE_NAME "POSValidatorInterface"
/* Methods of POSValidatorInterface in slot order: those of a validator's
 * container. */
#define POS_VALIDATOR_INTERFACE_METHODS(X) X(Validate, POSValidatorValidateProc)

/* True when `value` satisfies the type `typeName` of the validator's schema.
 * Otherwise false, and `errorProc`, when non-null, receives one line per
 * fault, each with the path from `typeName` down to the fault. A failure of
 * the walk itself is reported to MOXReportError, and the lines found so far
 * are dropped. A handle that is not a validator is refused with "invalid
 * container". */
typedef bool (*POSValidatorValidateProc)(MOXContainer validator, MOXContainer value,
                                         MOXStringAtom typeName, POSValidatorErrorProc errorProc);

/* ---- "POSStructValidatorInterface" ------------------------------------ */

#define POS_STRUCT_VALIDATOR_INTERFACE_NAME "POSStructValidatorInterface"
/* Methods of POSStructValidatorInterface in slot order. */
#define POS_STRUCT_VALIDATOR_INTERFACE_METHODS(X)                    \
  X(NewPOSStructValidator, POSStructValidatorNewStructValidatorProc) \
  X(RegisterCallbackProc, POSStructValidatorRegisterCallbackProc)    \
  X(ValidateSchema, POSStructValidatorValidateSchemaProc)

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

/* ---- The meta-schema --------------------------------------------------- */

/* The schema that ValidateSchema checks a schema against, in the text
 * notation: a schema is valid when it is a value of its type
 * POS_STRUCT_VALIDATOR_SCHEMA_TYPE. The paths of ValidateSchema's lines are
 * paths in this schema, so a component that wants to follow them reads it as
 * it reads any schema. One line of 2175 bytes, tabs kept. */
#define POS_STRUCT_VALIDATOR_SCHEMA_TYPE "StructSchema"
#define POS_STRUCT_VALIDATOR_META_SCHEMA_TEXT                                                      \
  "<kInt\t\t\t< category string oneof [int] > kReal\t\t\t< category string oneof [real] "          \
  "> kString\t\t< category string oneof [string] > kUnicodeString\t< category string "             \
  "oneof [unicodestring] > kBinData\t\t< category string oneof [bindata] > kObjRef\t\t< "          \
  "category string oneof [objref] > kArray\t\t\t< category string oneof [array] > kDict\t\t\t< "   \
  "category string oneof [dict] > kUnion\t\t\t< category string oneof [union] > kIntersection\t< " \
  "category string oneof [intersection] > StringList\t\t< category array membertype "              \
  "string > TypeName\t\t< category string minlen 1 > TypeList\t\t< category array membertype "     \
  "TypeName > IntDefn\t\t< category dict required\t\t< category kInt > optional\t\t< "             \
  "min int minexcl int max int maxexcl int> >RealDefn\t\t< category dict required\t\t< "           \
  "category kReal > optional\t\t< min real minexcl real max real maxexcl real> >StringDefn\t\t< "  \
  "category dict required\t\t< category kString > optional\t\t< minlen real    maxlen "            \
  "real    illegalchars string    oneof StringList > >UnicodeStringDefn < category "               \
  "dict required\t\t< category kUnicodeString > optional\t\t< minlen real    maxlen "              \
  "real > >BinDataDefn\t< category dict required\t\t< category kBinData > optional\t\t< "          \
  "minlen real    maxlen real    oneof StringList > >ObjRefDefn\t< category dict required\t\t< "   \
  "category kObjRef > >HomoArrayDefn\t< category dict required\t\t< category kArray "              \
  "membertype TypeName> optional\t\t< minlen real maxlen real > >HeteroArrayDefn< category "       \
  "dict required\t\t< category kArray membertype TypeList> >ArrayDefn < category union "           \
  "set [ HomoArrayDefn HeteroArrayDefn ] > DictMemberName\t\t< category string minlen "            \
  "1 >DictMemberDict\t\t< category dict keytype DictMemberName valuetype TypeName > "              \
  "DictDefn\t\t\t< category dict required\t\t\t< category kDict > optional\t\t\t< keytype "        \
  "TypeName valuetype TypeName required DictMemberDict optional DictMemberDict > > "               \
  "UnionDefn\t\t\t< category dict required\t\t\t< category kUnion set TypeList > > "               \
  "IntersectionDefn\t< category dict required\t\t\t< category kIntersection set TypeList "         \
  "> > TypeDefn\t\t\t< category union set [ DictDefn ArrayDefn IntDefn RealDefn StringDefn "       \
  "UnicodeStringDefn BinDataDefn ObjRefDefn UnionDefn IntersectionDefn ] >StructSchema\t\t< "      \
  "category dict keytype TypeName valuetype TypeDefn > >"

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* MOXUTILS_POSVALIDATORPROCS_H_ */
