// Trees far deeper than any stack, as a host may hand them to the library
// with nothing in front of it to measure depth: every walk either does its
// work or ends with one report and its neutral result, and every tree is
// released in full, on the default stack and on a small thread stack.
#include <string>

#include "blackbox/foreign_library.h"
#include "support/live_counts.h"
#include "support/stack_thread.h"

namespace moxtest {
namespace {

constexpr int kDepth = 200000;
const Strings kRefused = {"nesting too deep for the stack"};

int gLeafReleases = 0;
void CountLeafRelease(void*) {
  ++gLeafReleases;
}

class DeepTrees : public ForeignLibrary {
 protected:
  // `depth` levels of arrays, each the only member of the one above, or of
  // dictionaries, each under the key "a" of the one above; the innermost
  // level holds `leaf`. Kept by the caller.
  MOXContainer Chain(bool arrays, int depth, MOXContainer leaf) const {
    auto make = [&] { return arrays ? p.posArray.NewPOSArray() : p.posDict.NewPOSDict(); };
    auto link = [&](MOXContainer parent, MOXContainer child) {
      arrays ? p.posArray.Append(parent, child) : p.Put(parent, "a", child);
    };
    MOXContainer root = p.Keep(make());
    MOXContainer level = root;
    for (int i = 1; i < depth; ++i) {
      MOXContainer inner = make();
      link(level, inner);
      level = inner;
    }
    link(level, leaf);
    return root;
  }
};

// Each walk, and what it gives for the deep trees: its result in words, and
// whether it refused them with one report.
struct Walk {
  const char* name;
  std::string (*run)(DeepTrees& t, MOXContainer arrays, MOXContainer dicts);
  const char* result;
  bool refused;
};

std::string Handle(MOXContainer object) {
  return object == nullptr ? "null" : "an object";
}
std::string Truth(bool value) {
  return value ? "true" : "false";
}

const Walk kWalks[] = {
    {"CreateFromText of a million brackets",
     [](DeepTrees& t, MOXContainer, MOXContainer) {
       const std::string text = std::string(1000000, '[') + std::string(1000000, ']');
       const char* position = text.c_str();
       MOXContainer object = t.p.posStatics.CreateFromText(text.c_str(), &position);
       return Handle(object) + (position == nullptr ? "" : ", a position");
     },
     "null", true},
    {"CreateFromText of dictionaries",
     [](DeepTrees& t, MOXContainer, MOXContainer) {
       std::string text;
       for (int i = 0; i < kDepth; ++i) text += "<a ";
       text += "x" + std::string(kDepth, '>');
       return Handle(t.p.posStatics.CreateFromText(text.c_str(), nullptr));
     },
     "null", true},
    {"TypeA read",
     [](DeepTrees& t, MOXContainer, MOXContainer) {
       MemoryStream in(t.p, "POSStreamerTypeA_Version1.0 " + std::string(kDepth, '[') +
                                std::string(kDepth, ']'));
       MOXContainer streamer = t.p.Keep(t.p.posStreamer.NewPOSStreamer());
       const std::string result = Handle(t.p.posStreamer.Deserialize(streamer, in.Handle()));
       t.p.container.Release(streamer);
       return result;
     },
     "null", true},
    {"TypeA write",
     [](DeepTrees& t, MOXContainer arrays, MOXContainer) {
       // Each line is indented by its depth, so the text grows with the
       // square of the depth reached: it goes nowhere.
       MOXContainer out = nullptr;
       t.p.error.Release(t.p.streamFactory.NewPositionableFileStream(&out, "/dev/null", "wb"));
       t.p.Keep(out);
       MOXContainer streamer = t.p.Keep(t.p.posStreamer.NewPOSStreamer());
       const bool written = t.p.posStreamer.Serialize(streamer, out, arrays, nullptr);
       t.p.container.Release(streamer);
       t.p.container.Release(out);
       return Truth(written);
     },
     "false", true},
    {"Clone of arrays",
     [](DeepTrees& t, MOXContainer arrays, MOXContainer) {
       return Handle(t.p.posObject.Clone(arrays));
     },
     "null", true},
    {"Clone of dictionaries",
     [](DeepTrees& t, MOXContainer, MOXContainer dicts) {
       return Handle(t.p.posObject.Clone(dicts));
     },
     "null", true},
    {"IsEqual of arrays",
     [](DeepTrees& t, MOXContainer arrays, MOXContainer) {
       return Truth(t.p.posObject.IsEqual(arrays, arrays));
     },
     "false", true},
    {"IsEqual of dictionaries",
     [](DeepTrees& t, MOXContainer, MOXContainer dicts) {
       return Truth(t.p.posObject.IsEqual(dicts, dicts));
     },
     "false", true},
    {"DebugDump",
     [](DeepTrees& t, MOXContainer arrays, MOXContainer dicts) {
       t.p.posStatics.DebugDump(arrays);
       t.p.posStatics.DebugDumpWithHeader(dicts, 0);
       return std::string("done");
     },
     "done", false},
    // DeepGet walks in a loop: the whole address is followed.
    {"DeepGet of a long address",
     [](DeepTrees& t, MOXContainer, MOXContainer dicts) {
       std::string address;
       for (int i = 0; i < kDepth; ++i) address += ".a";
       MOXContainer leaf = t.p.DeepGet(dicts, address.c_str());
       const std::string shallower = Handle(t.p.DeepGet(dicts, address.substr(2).c_str()));
       return std::string(leaf != nullptr ? t.p.posString.Get(leaf) : "null") + ", " + shallower;
     },
     "leaf, an object", false},
    {"Validate",
     [](DeepTrees& t, MOXContainer arrays, MOXContainer) {
       MOXContainer validator = t.NewValidator("< L < category array membertype L > >");
       Strings lines;
       const bool valid = t.Validate(validator, arrays, "L", &lines);
       t.p.container.Release(validator);
       return Truth(valid) + (lines.empty() ? "" : ", lines");
     },
     "false", true},
    // The meta-schema has no recursive type: the check never goes deep.
    {"ValidateSchema",
     [](DeepTrees& t, MOXContainer, MOXContainer dicts) {
       Strings lines;
       const bool valid = t.ValidateSchema(dicts, &lines);
       return Truth(valid) + ", " + std::to_string(lines.size()) + " lines";
     },
     "false, 15 lines", false},
};

TEST_F(DeepTrees, EveryWalkEndsWithItsResultOrOneReport) {
  const MOXContainer arrays = Chain(true, kDepth, p.posNumber.NewPOSNumber(1));
  const MOXContainer dicts = Chain(false, kDepth, p.posString.NewPOSString("leaf"));
  const moxhost::LiveCounts built = moxhost::Runtime::Get().Counts();
  for (const bool small : {false, true}) {
    for (const Walk& walk : kWalks) {
      SCOPED_TRACE(std::string(walk.name) + (small ? " on a small stack" : " on the main stack"));
      std::string result;
      auto run = [&] { result = walk.run(*this, arrays, dicts); };
      small ? RunWithStack(kSmallStack, run) : run();
      EXPECT_EQ(result, walk.result);
      EXPECT_EQ(TakeReports(), walk.refused ? kRefused : Strings{});
      EXPECT_EQ(CountsDiff(built, moxhost::Runtime::Get().Counts()), "");
    }
  }
  p.container.Release(arrays);
  RunWithStack(kSmallStack, [&] { p.container.Release(dicts); });
  EXPECT_EQ(TakeReports(), Strings{});
}

// Destruction defers what the stack can't hold and still releases every
// object once, the raw pointer's release procedure included, whoever
// releases: a foreign component, a replacing Put or SetAt, or a Remove.
TEST_F(DeepTrees, ReleaseCompletesAtAnyDepthOnAnyStack) {
  const struct {
    const char* how;
    bool arrays;
    bool small;
    void (*drop)(const POSProcs& p, MOXContainer tree);
  } cases[] = {
      {"Release of arrays", true, false,
       [](const POSProcs& p, MOXContainer tree) { p.container.Release(tree); }},
      {"Release of dictionaries", false, true,
       [](const POSProcs& p, MOXContainer tree) { p.container.Release(tree); }},
      {"SetAt over arrays", true, true,
       [](const POSProcs& p, MOXContainer tree) {
         MOXContainer holder = p.Keep(p.posArray.NewPOSArray());
         p.posArray.Append(holder, tree);
         p.container.Release(tree);
         p.posArray.SetAt(holder, 0, p.posNumber.NewPOSNumber(0));
         p.container.Release(holder);
       }},
      {"Put over dictionaries", false, false,
       [](const POSProcs& p, MOXContainer tree) {
         MOXContainer holder = p.Keep(p.posDict.NewPOSDict());
         p.Put(holder, "t", tree);
         p.container.Release(tree);
         p.Put(holder, "t", p.posNumber.NewPOSNumber(0));
         p.container.Release(holder);
       }},
      {"Remove of arrays", true, true,
       [](const POSProcs& p, MOXContainer tree) {
         p.posArray.Remove(tree, 0);
         p.container.Release(tree);
       }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.how);
    ScopedCountsCheck counts;
    gLeafReleases = 0;
    const MOXContainer tree =
        Chain(c.arrays, kDepth, p.posRawPointer.NewPOSRawPointer(nullptr, &CountLeafRelease));
    auto drop = [&] { c.drop(p, tree); };
    c.small ? RunWithStack(kSmallStack, drop) : drop();
    EXPECT_EQ(gLeafReleases, 1);
    EXPECT_EQ(TakeReports(), Strings{});
  }
}

}  // namespace
}  // namespace moxtest
