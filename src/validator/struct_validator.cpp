#include "validator/struct_validator.h"

#include <cstring>

#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/host_wrappers.h"
#include "binding/stack_guard.h"
#include "binding/utils_names.h"
#include "validator/schema_check.h"

namespace NPOSValidatorImpl {

using MOX_T_MT::CPOSObjectStatics;

StructValidator::StructValidator(const CPOSDict& schema, bool validateSchema)
    : fErrors(CPOSArray::New()),
      fSchema(schema)
#define MOX_VALIDATOR_KEYWORD_INIT(member, text) , member(text)
          MOX_VALIDATOR_KEYWORDS(MOX_VALIDATOR_KEYWORD_INIT)
#undef MOX_VALIDATOR_KEYWORD_INIT
{
  if (validateSchema && !ValidateSchemaAgainstMeta(schema, nullptr)) {
    throw TOVException("Schema is not valid");
  }
}

BaseValidator* BaseValidator::Find(MOXContainer container) {
  void* instance = MOXFindInstance(container, gMOXUtilsNames->fValidatorImpl);
  if (instance == nullptr) return nullptr;
  // The second word of whatever stands there, read as bytes: the instance is
  // not known to be a validator until the word says so.
  uintptr_t tag;
  std::memcpy(&tag, static_cast<const char*>(instance) + sizeof(void*), sizeof(tag));
  if (tag != kMOXValidatorInstanceTag) return nullptr;
  return static_cast<BaseValidator*>(instance);
}

StructValidator* StructValidator::TryFromContainer(MOXContainer container) {
  if (container == nullptr) return nullptr;
  return dynamic_cast<StructValidator*>(BaseValidator::Find(container));
}

StructValidator* StructValidator::FromContainer(MOXContainer container) {
  StructValidator* validator = TryFromContainer(container);
  if (validator == nullptr) throw MOX_T_MT::POSException("instance was not an StructValidator");
  return validator;
}

void StructValidator::RegisterCallback(const CMOXStringHolder& typeName,
                                       POSStructValidatorCallbackProc proc, void* clientData) {
  fCallbacks.Insert(typeName, proc, clientData);
}

bool StructValidator::Validate(const CPOSObject& value, const CMOXStringHolder& typeName,
                               POSValidatorErrorProc errorProc) const {
  CPOSArray errors = CPOSArray::New();
  if (CheckType(fSchema, typeName, value, errors) == 0) return true;
  // The lines go out only now that the walk is over, in the order found.
  if (errorProc != nullptr) {
    for (uint32_t i = 0; i < errors.Count(); ++i) {
      CPOSString line(errors.GetAt(i));
      errorProc(line.Get());
    }
  } else {
    CPOSObjectStatics::DebugDump(errors);
  }
  return false;
}

void StructValidator::AppendLine(const CPOSArray& errors, const char* text) {
  errors.Append(CPOSString::New(text));
}

int32_t StructValidator::CheckType(const CPOSDict& schema, const CMOXStringHolder& typeName,
                                   const CPOSObject& value, const CPOSArray& errors) const {
  // A schema may lead back to the same name on the same value (a union that
  // holds itself), and values may nest deeply: end the walk with an
  // exception while there is stack left to unwind through.
  MOX_T_MT::CheckStackReserve();
  switch (CheckBuiltinType(typeName.CString(), value, errors)) {
    case kBuiltinValid:
      return 0;
    case kBuiltinInvalid:
      return 1;
    case kNotBuiltin:
      break;
  }
  const int32_t count = CheckDefinedType(schema, typeName, value, errors);
  if (count > 0) return count;
  return CheckCallback(typeName, value, errors, count);
}

namespace {

// The callback's text buffer, released however the step ends.
class CallbackTextBuffer {
 public:
  CallbackTextBuffer() : fBuffer(MOXNewSharedBuffer(kCallbackTextSize, nullptr, nullptr, 0, 0)) {}
  ~CallbackTextBuffer() { MOXSharedBuffProcs::Release(fBuffer); }
  CallbackTextBuffer(const CallbackTextBuffer&) = delete;
  CallbackTextBuffer& operator=(const CallbackTextBuffer&) = delete;

  static constexpr uint64_t kCallbackTextSize = 1024;
  MOXSharedBuff fBuffer;
};

}  // namespace

int32_t StructValidator::CheckCallback(const CMOXStringHolder& typeName, const CPOSObject& value,
                                       const CPOSArray& errors, int32_t count) const {
  const CallbackNode* node = fCallbacks.Find(typeName.CString());
  // Made for every name that gets here, whether a callback exists or not.
  CallbackTextBuffer text;
  char* address = static_cast<char*>(MOXSharedBuffProcs::GetBuffer(text.fBuffer));
  if (node != nullptr && node->proc != nullptr &&
      node->proc(value.Container(), typeName.Atom(), text.fBuffer, node->clientData) == 0) {
    // A callback that filled the whole buffer still gives a terminated line.
    if (address != nullptr) address[CallbackTextBuffer::kCallbackTextSize - 1] = 0;
    errors.Append(CPOSString::New(address != nullptr ? address : ""));
    ++count;
  }
  return count;
}

}  // namespace NPOSValidatorImpl
