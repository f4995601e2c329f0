#include "validator/validator_interface.h"

#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/utils_names.h"
#include "validator/schema_check.h"
#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

namespace {

void DeleteValidator(void* instance) {
  if (instance != nullptr) delete static_cast<BaseValidator*>(instance);
}

// The schema behind `handle` as a POSDict, or an empty holder when it is an
// object of another class. A null handle raises "invalid container".
CPOSDict SchemaOf(MOXContainer handle) {
  return CPOSDict(CPOSObject(handle), /*quiet=*/true);
}

// A type name is needed by every lookup of the walk.
CMOXStringHolder TypeNameOf(MOXStringAtom typeName) {
  if (typeName == nullptr) throw MOX_T_MT::POSException("null argument");
  return CMOXStringHolder(typeName, /*adopt=*/false);
}

// Server rows, generated from the interfaces' method lists: method M is
// served by MEntry.
#define MOX_VALIDATOR_SERVER_ROW(Method, ProcType) \
  MOX_SERVER_ROW(#Method, ProcType, &Method##Entry),
const MOXServerRow kValidatorRows[] = {POS_VALIDATOR_INTERFACE_METHODS(MOX_VALIDATOR_SERVER_ROW)
                                           MOX_SERVER_END_ROW};
const MOXServerRow kStructValidatorRows[] = {
    POS_STRUCT_VALIDATOR_INTERFACE_METHODS(MOX_VALIDATOR_SERVER_ROW) MOX_SERVER_END_ROW};
#undef MOX_VALIDATOR_SERVER_ROW

}  // namespace

const MOXServerInterface kPOSValidatorServerInterface = {
    POS_VALIDATOR_INTERFACE_NAME, kValidatorRows, MOXRowCount(kValidatorRows)};
const MOXServerInterface kPOSStructValidatorServerInterface = {
    POS_STRUCT_VALIDATOR_INTERFACE_NAME, kStructValidatorRows, MOXRowCount(kStructValidatorRows)};

MOXContainer NewPOSStructValidatorEntry(MOXContainer schema) {
  return EntryGuard<MOXContainer>([&] {
    const CPOSDict holder = SchemaOf(schema);
    // The schema is taken on trust; a fault in it shows at Validate.
    StructValidator* validator = new StructValidator(holder, /*validateSchema=*/false);
    // On failure the runtime destroys the instance through DeleteValidator.
    return MOXNewFullContainer(validator, gMOXUtilsNames->fValidatorImpl, &DeleteValidator,
                               gMOXUtilsNames->fValidatorInterface);
  });
}

void RegisterCallbackProcEntry(MOXContainer validator, MOXStringAtom typeName,
                               POSStructValidatorCallbackProc proc, void* clientData) {
  EntryGuardVoid([&] {
    const CMOXStringHolder name = TypeNameOf(typeName);
    StructValidator* instance = StructValidator::TryFromContainer(validator);
    // Outside the contract, but refused rather than followed.
    if (instance == nullptr) MOXThrowInvalidContainer();
    instance->RegisterCallback(name, proc, clientData);
  });
}

bool ValidateSchemaEntry(MOXContainer schema, POSValidatorErrorProc errorProc) {
  // No guard: what goes wrong here reaches the caller as an exception.
  return ValidateSchemaAgainstMeta(SchemaOf(schema), errorProc);
}

bool ValidateEntry(MOXContainer validator, MOXContainer value, MOXStringAtom typeName,
                   POSValidatorErrorProc errorProc) {
  return EntryGuard<bool>([&] {
    void* instance = MOXFindInstance(validator, gMOXUtilsNames->fValidatorImpl);
    if (instance == nullptr) MOXThrowInvalidContainer();
    const CMOXStringHolder name = TypeNameOf(typeName);
    const CPOSObject object(value);
    return static_cast<const BaseValidator*>(instance)->Validate(object, name, errorProc);
  });
}

}  // namespace NPOSValidatorImpl
