// The validator as an object: how it is made and found, what it holds, and
// the client tables of its two interfaces.
#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/utils_names.h"
#include "validator/schema_check.h"
#include "validator/validator_client.h"
#include "validator/validator_fixture.h"

namespace moxtest {
namespace {

uint32_t RefCount(const CMOXContainerRef& object) {
  auto countAddr = reinterpret_cast<MOXGetRefCountAddrProc>(moxhost::Runtime::LookupProc()(
      "MOXContainerInterface", "DebugGetRefCountAddr", "MOXGetRefCountAddrProc"));
  return *countAddr(object.Container());
}

TEST_F(ValidatorTest, AValidatorHoldsItsSchemaNotACopy) {
  CPOSDict schema(Parse("< A < category int > >"));
  MOXContainer fresh = StructEntries::NewPOSStructValidator(schema.Container());
  CMOXContainerRef validator(fresh);
  EXPECT_EQ(RefCount(validator), 1u) << "the validator came back unowned";
  StructValidator* instance = StructValidator::TryFromContainer(fresh);
  EXPECT_EQ(instance, StructValidator::FromContainer(fresh));
  EXPECT_FALSE(Validate(validator, "B", CPOSNumber::New(1), nullptr));
  schema.Put("B", Parse("< category string >"));
  Lines lines;
  EXPECT_FALSE(Validate(validator, "B", CPOSNumber::New(1), &lines));
  EXPECT_EQ(lines, Lines{"Expected STRING was of invalid type"});
  // Its own error list stays as the constructor made it.
  EXPECT_TRUE(CPOSArray::Is(instance->KeptErrors()));
  EXPECT_EQ(instance->KeptErrors().Count(), 0u);
}

TEST_F(ValidatorTest, ASchemaThatIsNoDictLeavesTheBuiltinNames) {
  CMOXContainerRef validator = NewValidator("[ A ]");
  EXPECT_TRUE(Validate(validator, "int", CPOSNumber::New(1), nullptr));
  Lines lines;
  EXPECT_FALSE(Validate(validator, "A", CPOSNumber::New(1), &lines));
  EXPECT_EQ(lines, Lines{"Schema not applicable, no definition for A"});
  EXPECT_EQ(TakeReports(), Lines{"instance was not an POSDict"});
}

// Another kind of object made under the validators' own instance and
// interface names, as directory objects are: a plain record of two words, an
// atom and its text, with no vtable.
struct TwoWordRecord {
  MOXStringAtom path;
  const char* text;
};

void DeleteTwoWordRecord(void* instance) {
  auto* record = static_cast<TwoWordRecord*>(instance);
  MOXString::DeleteStringAtom(record->path);
  MOXMemory::Free(record);
}

TEST_F(ValidatorTest, HandlesOfAnotherKindAreRefused) {
  auto* record = static_cast<TwoWordRecord*>(MOXMemory::AllocOrThrow(sizeof(TwoWordRecord)));
  record->path = MOXString::NewStringAtom("/tmp");
  record->text = MOXString::GetCString(record->path);
  const CMOXContainerRef sameName(MOXNewFullContainer(record, gMOXUtilsNames->fValidatorImpl,
                                                      &DeleteTwoWordRecord,
                                                      gMOXUtilsNames->fValidatorInterface));
  ASSERT_EQ(MOXFindInstance(sameName.Container(), gMOXUtilsNames->fValidatorImpl), record);
  const CPOSObject dict = Parse("< >");
  const CMOXStringHolder any("any");
  // An object of the model, and one found under the validators' name.
  for (MOXContainer other : {dict.Container(), sameName.Container()}) {
    EXPECT_FALSE(ValidatorEntries::Validate(other, dict.Container(), any.Atom(), &CollectLine));
    StructEntries::RegisterCallbackProc(other, any.Atom(), nullptr, nullptr);
    try {
      StructValidator::FromContainer(other);
    } catch (const std::exception& e) {
      MOXReportErrorText(e.what());
    }
    EXPECT_EQ(TakeReports(), (Lines{"invalid container", "invalid container",
                                    "instance was not an StructValidator"}));
  }
  EXPECT_STREQ(record->text, "/tmp");
  // A validator is found as one, and then wants a type name.
  const CMOXContainerRef validator = NewValidator("< >");
  EXPECT_FALSE(
      ValidatorEntries::Validate(validator.Container(), dict.Container(), nullptr, nullptr));
  StructEntries::RegisterCallbackProc(validator.Container(), nullptr, nullptr, nullptr);
  EXPECT_EQ(StructEntries::NewPOSStructValidator(nullptr), nullptr);
  EXPECT_EQ(TakeReports(), (Lines{"null argument", "null argument", "invalid container"}));
}

TEST_F(ValidatorTest, ASchemaCheckCanBeAskedOfTheConstructor) {
  const CPOSDict good(Parse("< A < category int > >"));
  EXPECT_NO_THROW(StructValidator(good, /*validateSchema=*/true));
  const CPOSDict bad(Parse("< A < category integer > >"));
  try {
    StructValidator validator(bad, /*validateSchema=*/true);
    ADD_FAILURE() << "a bad schema was taken";
  } catch (const TOVException& e) {
    EXPECT_STREQ(e.what(), "Schema is not valid");
  }
}

TEST_F(ValidatorTest, ClientTablesReachTheRegisteredMethods) {
  CMOXContainerRef validator = NewValidator("< >");
  void** procs = NPOSValidatorImpl::POSValidatorLookupProcTable(validator.Container());
  ASSERT_NE(procs, nullptr);
  EXPECT_EQ(procs, NPOSValidatorImpl::POSValidatorLookupProcTable(validator.Container()))
      << "one entry per signature";
  auto validate = MOXProcAt<NPOSValidatorImpl::POSValidatorSlots::Validate>(procs);
  EXPECT_EQ(validate, &ValidatorEntries::Validate);
  EXPECT_FALSE(validate(validator.Container(), CPOSNumber::New(1).Container(),
                        CMOXStringHolder("string").Atom(), nullptr));

  namespace Slots = NPOSValidatorImpl::POSStructValidatorSlots;
  auto& table = NPOSValidatorImpl::gPOSStructValidatorTable;
  void** slots = table.Get();
  ASSERT_NE(slots, nullptr);
  EXPECT_EQ(table.Proc<Slots::NewPOSStructValidator>(), &StructEntries::NewPOSStructValidator);
  EXPECT_EQ(table.Proc<Slots::RegisterCallbackProc>(), &StructEntries::RegisterCallbackProc);
  EXPECT_EQ(table.Proc<Slots::ValidateSchema>(), &StructEntries::ValidateSchema);
  // Stale after an unregistration, and found again.
  moxhost::Runtime::Get().RaiseUnregisterCounter();
  EXPECT_FALSE(table.IsCurrent());
  EXPECT_EQ(table.Get(), slots);
  EXPECT_EQ(TakeReports(), Lines{});
  // The validator signature keeps its method table until the stop.
  validator = CMOXContainerRef();
  started_ = moxhost::Runtime::Get().Counts();
}

}  // namespace
}  // namespace moxtest
