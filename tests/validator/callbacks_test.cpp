// Client checks of named types, and how lines reach the error procedure.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <stdexcept>
#include <utility>

#include "binding/host_wrappers.h"
#include "validator/validator_fixture.h"

namespace moxtest {
namespace {

// A client check: records each call as "Type:value" and rejects the value
// described as `reject`, writing `text` (nothing when null).
struct ClientCheck {
  explicit ClientCheck(std::string rejected = "", const char* rejection = nullptr,
                       bool raising = false)
      : reject(std::move(rejected)), text(rejection), raise(raising) {}
  std::string reject;
  const char* text;
  bool raise;
  Lines calls;
  size_t linesAtCall = 0;  // the most lines the error procedure had at a call
};

std::string Describe(MOXContainer value) {
  CPOSObject object(value);
  CPOSString text(object, /*quiet=*/true);
  if (!text.IsEmpty()) return text.Get();
  CPOSNumber number(object, /*quiet=*/true);
  return number.IsEmpty() ? "?" : std::to_string(static_cast<int>(number.Get()));
}

uint32_t RunCheck(MOXContainer value, MOXStringAtom typeName, MOXSharedBuff buffer, void* data) {
  ClientCheck& check = *static_cast<ClientCheck*>(data);
  const std::string described = Describe(value);
  check.calls.push_back(std::string(MOXString::GetCString(typeName)) + ":" + described);
  if (tLineSink != nullptr) check.linesAtCall = std::max(check.linesAtCall, tLineSink->size());
  if (check.raise) throw std::runtime_error("check failed to run");
  if (described != check.reject) return 2;  // any non-zero accepts
  char* text = static_cast<char*>(MOXSharedBuffProcs::GetBuffer(buffer));
  if (check.text != nullptr && std::string(check.text) == "@fill") {
    std::memset(text, 'x', MOXSharedBuffProcs::GetSize(buffer));  // and no terminator
  } else if (check.text != nullptr) {
    std::snprintf(text, MOXSharedBuffProcs::GetSize(buffer), "%s", check.text);
  }
  return 0;
}

class Callbacks : public ValidatorTest {
 protected:
  void SetUp() override {
    ValidatorTest::SetUp();
    validator_ = NewValidator(kDocSchema);
  }
  void TearDown() override {
    validator_ = CMOXContainerRef();
    ValidatorTest::TearDown();
  }

  void Register(const char* type, ClientCheck* check,
                POSStructValidatorCallbackProc proc = &RunCheck) {
    StructEntries::RegisterCallbackProc(validator_.Container(), CMOXStringHolder(type).Atom(), proc,
                                        check);
  }
  // One Validate through the entry: the lines, or "invalid" when there were
  // none, and the reports.
  Lines Walk(const char* type, const char* value) {
    Lines lines;
    if (Validate(validator_, type, Parse(value), &lines)) lines = {"valid"};
    for (const std::string& report : TakeReports()) lines.push_back("report: " + report);
    return lines;
  }

  CMOXContainerRef validator_;
};

TEST_F(Callbacks, AreAskedOnlyAfterTheStructurePassedAndNeverForBuiltinNames) {
  ClientCheck list, item, name, text;
  Register("List", &list);
  Register("Item", &item);
  Register("Name", &name);
  Register("string", &text);
  EXPECT_EQ(
      Walk("List", "[ 5 a bc ]"),
      (Lines{"[1]: Not a valid union type: Trying int: Expected INT was of invalid type",
             "[1]: Not a valid union type: Trying Name: String length below mininum value 2"}));
  // Once per time a name is reached and passes: "a" never passed Name.
  EXPECT_EQ(item.calls, (Lines{"Item:5", "Item:bc"}));
  EXPECT_EQ(name.calls, Lines{"Name:bc"});
  EXPECT_EQ(list.calls, Lines{}) << "the list failed by structure";
  EXPECT_EQ(text.calls, Lines{});
  // Lines go out after the walk, never while it runs.
  EXPECT_EQ(item.linesAtCall, 0u);
  EXPECT_EQ(Walk("List", "[ bc ]"), Lines{"valid"});
  EXPECT_EQ(list.calls, Lines{"List:?"});
}

TEST_F(Callbacks, ARejectionIsALineUnderTheOuterPrefixes) {
  const struct {
    const char* type;
    const char* value;
    ClientCheck check;
    const char* checked;
    Lines lines;
  } cases[] = {
      {"List", "[ 5 7 ]", ClientCheck("5", "five is out"), "Item", {"[0]: five is out"}},
      {"List",
       "[ bc ]",
       ClientCheck("bc", "no bc"),
       "Name",
       {"[0]: Not a valid union type: Trying int: Expected INT was of invalid type",
        "[0]: Not a valid union type: Trying Name: no bc"}},
      {"Point",
       "< x 1 y 3 >",
       ClientCheck("3", "small three"),
       "Small",
       {"y (optional, type != Small): small three"}},
      {"Point", "< x 1 y 3 >", ClientCheck("3"), "Small", {"y (optional, type != Small): "}},
      {"List", "[ 1 ]", ClientCheck("1", "one"), "int", {"valid"}},
      {"Name", "bc", ClientCheck("bc", "@fill"), "Name", {std::string(1023, 'x')}},
  };
  for (auto c : cases) {
    SCOPED_TRACE(c.value);
    validator_ = NewValidator(kDocSchema);
    Register(c.checked, &c.check);
    EXPECT_EQ(Walk(c.type, c.value), c.lines);
  }
}

TEST_F(Callbacks, ALaterRegistrationReplacesTheEarlierOne) {
  ClientCheck first("5", "first"), second("5", "second");
  Register("Item", &first);
  Register("Item", &second);
  const NPOSValidatorImpl::CallbackNode* root =
      StructValidator::TryFromContainer(validator_.Container())->Callbacks().root;
  ASSERT_NE(root, nullptr);
  EXPECT_TRUE(root->left == nullptr && root->right == nullptr);
  EXPECT_EQ(root->clientData, &second);
  EXPECT_EQ(Walk("List", "[ 5 ]"), Lines{"[0]: second"});
  EXPECT_EQ(first.calls, Lines{});
  // A null procedure takes the check away.
  Register("Item", &first, nullptr);
  EXPECT_EQ(Walk("List", "[ 5 ]"), Lines{"valid"});
  EXPECT_EQ(second.calls, Lines{"Item:5"});
}

TEST_F(Callbacks, FailuresOfClientProceduresEndTheCall) {
  ClientCheck raising("", nullptr, /*raising=*/true);
  Register("Item", &raising);
  EXPECT_EQ(Walk("List", "[ 5 6 ]"), Lines{"report: check failed to run"});
  EXPECT_EQ(raising.calls, Lines{"Item:5"});
  // An error procedure that raises cuts the delivery short.
  Lines lines;
  tLineSink = &lines;
  auto raisingSink = [](const char* line) {
    CollectLine(line);
    throw std::runtime_error("sink full");
  };
  EXPECT_FALSE(ValidatorEntries::Validate(validator_.Container(), Parse("[ a b ]").Container(),
                                          CMOXStringHolder("List").Atom(), raisingSink));
  tLineSink = nullptr;
  EXPECT_EQ(lines.size(), 1u);
  EXPECT_EQ(TakeReports(), Lines{"sink full"});
  // Without an error procedure only the answer comes back.
  EXPECT_FALSE(Validate(validator_, "List", Parse("[ a ]"), nullptr));
  EXPECT_EQ(TakeReports(), Lines{});
}

// The map stays a red-black search tree through many registrations, and each
// name keeps one node, the latest.
TEST_F(Callbacks, ManyNamesKeepOneNodeEach) {
  std::vector<std::string> names;
  for (int i = 0; i < 200; ++i) names.push_back("T" + std::to_string(i * 7919 % 1000));
  std::vector<ClientCheck> checks(2);
  std::mt19937 random(7);
  for (ClientCheck& check : checks) {
    std::shuffle(names.begin(), names.end(), random);
    for (const std::string& name : names) Register(name.c_str(), &check);
  }
  using Node = NPOSValidatorImpl::CallbackNode;
  const NPOSValidatorImpl::CallbackMap& map =
      StructValidator::TryFromContainer(validator_.Container())->Callbacks();
  Lines inOrder;
  bool shapeHolds = map.root->colour == 1;
  auto red = [](const Node* node) { return node != nullptr && node->colour == 0; };
  // Returns the black height; checks links, order and colours on the way.
  std::function<int(const Node*, const Node*)> walk = [&](const Node* node, const Node* parent) {
    if (node == nullptr) return 1;
    shapeHolds &= node->parent == parent && node->clientData == &checks.back();
    shapeHolds &= !(red(node) && (red(node->left) || red(node->right)));
    const int left = walk(node->left, node);
    inOrder.push_back(node->name.CString());
    const int right = walk(node->right, node);
    shapeHolds &= left == right;
    return left + (red(node) ? 0 : 1);
  };
  walk(map.root, nullptr);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(inOrder, names);
  EXPECT_TRUE(shapeHolds);
  for (const std::string& name : names) EXPECT_NE(map.Find(name.c_str()), nullptr);
  EXPECT_EQ(map.Find("T"), nullptr);
}

}  // namespace
}  // namespace moxtest
