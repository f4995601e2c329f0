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
  return CMOXStringHolder::Retain(typeName);
}

MOX_DEFINE_SERVER_INTERFACE(kPOSValidatorServerInterface, POS_VALIDATOR_INTERFACE_NAME,
                            POSValidatorEntries, POS_VALIDATOR_INTERFACE_METHODS);
MOX_DEFINE_SERVER_INTERFACE(kPOSStructValidatorServerInterface, POS_STRUCT_VALIDATOR_INTERFACE_NAME,
                            POSStructValidatorEntries, POS_STRUCT_VALIDATOR_INTERFACE_METHODS);

const MOXServerInterface* const kRegistered[] = {&kPOSValidatorServerInterface,
                                                 &kPOSStructValidatorServerInterface};
const MOXServerInterface* const kUnregistered[] = {&kPOSStructValidatorServerInterface,
                                                   &kPOSValidatorServerInterface};

}  // namespace

const MOXLayerInterfaces kPOSValidatorLayerInterfaces =
    MOXMakeLayerInterfaces(kRegistered, kUnregistered);

namespace POSStructValidatorEntries {

MOXContainer NewPOSStructValidator(MOXContainer schema) {
  return EntryGuard<MOXContainer>([&] {
    const CPOSDict holder = SchemaOf(schema);
    // The schema is taken on trust; a fault in it shows at Validate.
    StructValidator* validator = new StructValidator(holder, /*validateSchema=*/false);
    // On failure the runtime destroys the instance through DeleteValidator.
    return MOXNewFullContainer(validator, gMOXUtilsNames->fValidatorImpl, &DeleteValidator,
                               gMOXUtilsNames->fValidatorInterface);
  });
}

void RegisterCallbackProc(MOXContainer validator, MOXStringAtom typeName,
                          POSStructValidatorCallbackProc proc, void* clientData) {
  EntryGuardVoid([&] {
    const CMOXStringHolder name = TypeNameOf(typeName);
    StructValidator* instance = StructValidator::TryFromContainer(validator);
    // Outside the contract (a handle of another kind, a directory object
    // among them), but refused rather than followed.
    if (instance == nullptr) MOXThrowInvalidContainer();
    instance->RegisterCallback(name, proc, clientData);
  });
}

bool ValidateSchema(MOXContainer schema, POSValidatorErrorProc errorProc) {
  // No guard: what goes wrong here reaches the caller as an exception.
  return ValidateSchemaAgainstMeta(SchemaOf(schema), errorProc);
}

}  // namespace POSStructValidatorEntries

namespace POSValidatorEntries {

bool Validate(MOXContainer validator, MOXContainer value, MOXStringAtom typeName,
              POSValidatorErrorProc errorProc) {
  return EntryGuard<bool>([&] {
    // A directory object shares the validators' instance name; it is refused
    // here like any other handle that is not a validator.
    const BaseValidator* instance = BaseValidator::Find(validator);
    if (instance == nullptr) MOXThrowInvalidContainer();
    const CMOXStringHolder name = TypeNameOf(typeName);
    const CPOSObject object(value);
    return instance->Validate(object, name, errorProc);
  });
}

}  // namespace POSValidatorEntries

}  // namespace NPOSValidatorImpl
