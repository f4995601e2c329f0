// The validator as an object: how it is made and found, what it holds, and
// the client tables of its two interfaces.
#include <functional>

#include "binding/errors.h"
#include "validator/schema_check.h"
#include "validator/validator_client.h"
#include "validator/validator_fixture.h"

namespace moxtest {
namespace {

using NPOSValidatorImpl::ValidateEntry;

uint32_t RefCount(const CMOXContainerRef& object) {
  auto countAddr = reinterpret_cast<MOXGetRefCountAddrProc>(moxhost::Runtime::LookupProc()(
      "MOXContainerInterface", "DebugGetRefCountAddr", "MOXGetRefCountAddrProc"));
  return *countAddr(object.Get());
}

TEST_F(ValidatorTest, AValidatorHoldsItsSchemaNotACopy) {
  CPOSDict schema(Parse("< A < category int > >"));
  MOXContainer fresh = NPOSValidatorImpl::NewPOSStructValidatorEntry(schema.fContainer);
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

TEST_F(ValidatorTest, HandlesOfAnotherKindAreRefused) {
  CMOXContainerRef validator = NewValidator("< >");
  const CPOSObject dict = Parse("< >");
  const CMOXStringHolder any("any");
  const struct {
    std::function<void()> call;
    const char* report;
  } cases[] = {
      {[&] { EXPECT_EQ(NPOSValidatorImpl::NewPOSStructValidatorEntry(nullptr), nullptr); },
       "invalid container"},
      {[&] { EXPECT_FALSE(ValidateEntry(dict.Get(), dict.Get(), any.fAtom, nullptr)); },
       "invalid container"},
      {[&] { EXPECT_FALSE(ValidateEntry(validator.Get(), dict.Get(), nullptr, nullptr)); },
       "null argument"},
      {[&] {
         NPOSValidatorImpl::RegisterCallbackProcEntry(dict.Get(), any.fAtom, nullptr, nullptr);
       },
       "invalid container"},
      {[&] {
         NPOSValidatorImpl::RegisterCallbackProcEntry(validator.Get(), nullptr, nullptr, nullptr);
       },
       "null argument"},
      {[&] {
         try {
           StructValidator::FromContainer(dict.Get());
         } catch (const std::exception& e) {
           MOXReportErrorText(e.what());
         }
       },
       "instance was not an StructValidator"},
  };
  for (const auto& c : cases) {
    c.call();
    EXPECT_EQ(TakeReports(), Lines{c.report});
  }
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
  void** procs = NPOSValidatorImpl::POSValidatorLookupProcTable(validator.Get());
  ASSERT_NE(procs, nullptr);
  EXPECT_EQ(procs, NPOSValidatorImpl::POSValidatorLookupProcTable(validator.Get()))
      << "one entry per signature";
  auto validate =
      reinterpret_cast<POSValidatorValidateProc>(procs[NPOSValidatorImpl::kValidateSlot]);
  EXPECT_EQ(validate, &ValidateEntry);
  EXPECT_FALSE(validate(validator.Get(), CPOSNumber::New(1).fContainer,
                        CMOXStringHolder("string").fAtom, nullptr));

  void** slots = NPOSValidatorImpl::gPOSStructValidatorTable.Get();
  ASSERT_NE(slots, nullptr);
  EXPECT_EQ(slots[NPOSValidatorImpl::kNewPOSStructValidatorSlot],
            reinterpret_cast<void*>(&NPOSValidatorImpl::NewPOSStructValidatorEntry));
  EXPECT_EQ(slots[NPOSValidatorImpl::kRegisterCallbackProcSlot],
            reinterpret_cast<void*>(&NPOSValidatorImpl::RegisterCallbackProcEntry));
  EXPECT_EQ(slots[NPOSValidatorImpl::kValidateSchemaSlot],
            reinterpret_cast<void*>(&NPOSValidatorImpl::ValidateSchemaEntry));
  // Stale after an unregistration, and found again.
  moxhost::Runtime::Get().RaiseUnregisterCounter();
  EXPECT_FALSE(NPOSValidatorImpl::gPOSStructValidatorTable.IsCurrent());
  EXPECT_EQ(NPOSValidatorImpl::gPOSStructValidatorTable.Get(), slots);
  EXPECT_EQ(TakeReports(), Lines{});
  // The validator signature keeps its method table until the stop.
  validator = CMOXContainerRef();
  started_ = moxhost::Runtime::Get().Counts();
}

}  // namespace
}  // namespace moxtest
