// The check of a settings tree that a component has in a file, as a foreign
// component makes it: libMOXUtils.so loaded with dlopen, the tree read from a
// TypeA stream, the schema written in the text notation, and every fault one
// line with its full path.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "blackbox/foreign_library.h"
#include "blackbox/pos_procs.h"
#include "moxhost/runtime.h"

namespace moxtest {
namespace {

using moxhost::Runtime;

const char kSettings[] =
    "POSStreamerTypeA_Version1.0 <\n"
    "\t\"fonts\" [\n"
    "\t\t<\n\t\t\t\"family\" \"Book Serif\"\n\t\t\t\"size\" #12 \n\t\t>\n"
    "\t\t<\n\t\t\t\"family\" \"\"\n\t\t\t\"size\" #300 \n\t\t>\n"
    "\t]\n"
    "\t\"name\" \"notebook\"\n"
    "\t\"window\" <\n\t\t\"height\" #900 \n\t\t\"width\" #-1440 \n\t>\n"
    ">";

const char kSchema[] =
    "< Settings < category dict required < name Name window Window fonts Fonts > >"
    "  Name     < category string minlen 1 >"
    "  Window   < category dict required < width Pixels height Pixels > >"
    "  Pixels   < category int min 0 max 10000 >"
    "  Fonts    < category array membertype Font minlen 1 >"
    "  Font     < category dict required < family Family size Size > >"
    "  Family   < category string minlen 1 >"
    "  Size     < category int min 6 max 72 > >";

Strings gLines;
void CollectLine(const char* line) {
  gLines.push_back(line);
}

const POSProcs* gProcs = nullptr;
// A client check of "Family": only installed families pass.
uint32_t FamilyInstalled(MOXContainer value, MOXStringAtom, MOXSharedBuff buffer, void*) {
  const std::string family = gProcs->posString.Get(value);
  if (family != "Book Serif") return 1;
  std::snprintf(static_cast<char*>(gProcs->sharedBuffer.GetBuffer(buffer)),
                gProcs->sharedBuffer.GetSize(buffer), "%s is not installed", family.c_str());
  return 0;
}

using ForeignValidation = LoadedForeignLibrary;

TEST_F(ForeignValidation, ChecksATreeReadFromATypeAStream) {
  ASSERT_TRUE(library_->Start());
  ASSERT_TRUE(p.Load(Runtime::LookupProc()));
  gProcs = &p;
  char path[] = "/tmp/validator_test_XXXXXX";
  const int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  close(fd);
  std::ofstream(path, std::ios::binary) << kSettings;

  // 1. The tree, from the file.
  MOXContainer stream = nullptr;
  ASSERT_EQ(p.streamFactory.NewPositionableFileStream(&stream, path, "rb"), nullptr);
  p.Keep(stream);
  MOXContainer streamer = p.Keep(p.posStreamer.NewPOSStreamer());
  MOXContainer tree = p.Keep(p.posStreamer.Deserialize(streamer, stream));
  ASSERT_NE(tree, nullptr) << ::testing::PrintToString(Runtime::Get().Reports());
  // 2. The schema, well formed, and a validator of it with a client check.
  MOXContainer schema = p.Keep(p.posStatics.CreateFromText(kSchema, nullptr));
  ASSERT_NE(schema, nullptr);
  gLines.clear();
  EXPECT_TRUE(p.posStructValidator.ValidateSchema(schema, &CollectLine));
  EXPECT_EQ(gLines, Strings{});
  MOXContainer validator = p.posStructValidator.NewPOSStructValidator(schema);
  ASSERT_NE(validator, nullptr);
  EXPECT_EQ(p.RefCount(validator), 0u) << "a new validator is unowned";
  p.Keep(validator);
  MOXStringAtom family = p.string.NewStringAtom("Family");
  p.posStructValidator.RegisterCallbackProc(validator, family, &FamilyInstalled, nullptr);
  p.string.DeleteStringAtom(family);

  // 3. Every fault, one line each with its path, after the walk.
  MOXStringAtom settings = p.string.NewStringAtom("Settings");
  EXPECT_FALSE(p.posValidator.Validate(validator, tree, settings, &CollectLine));
  EXPECT_EQ(gLines,
            (Strings{"fonts (required, type != Fonts): [0]: family (required, type != Family): "
                     "Book Serif is not installed",
                     "fonts (required, type != Fonts): [1]: family (required, type != Family): "
                     "String length below mininum value 1",
                     "fonts (required, type != Fonts): [1]: size (required, type != Size): Number "
                     "above maximum value 72.000000",
                     "window (required, type != Window): width (required, type != Pixels): Number "
                     "below mininum value 0.000000"}));
  // A tree that is right passes in silence.
  gLines.clear();
  MOXContainer good = p.Keep(p.posStatics.CreateFromText(
      "< name n window < width 1 height 2 > fonts [ < family Mono size 9 > ] >", nullptr));
  EXPECT_TRUE(p.posValidator.Validate(validator, good, settings, &CollectLine));
  EXPECT_EQ(gLines, Strings{});
  // 4. Failures come back as a report and false.
  EXPECT_FALSE(p.posValidator.Validate(tree, tree, settings, &CollectLine));
  EXPECT_EQ(Runtime::Get().Reports(), Strings{"invalid container"});
  p.string.DeleteStringAtom(settings);

  for (MOXContainer object : {good, validator, schema, tree, streamer, stream}) {
    p.container.Release(object);
  }
  unlink(path);
}

TEST_F(ForeignValidation, NoValidatorInterfaceWithoutTheFirst) {
  Runtime::Get().RefuseRegistration("POSValidatorInterface", "Validate");
  EXPECT_FALSE(library_->Start());
  const Strings registered = Runtime::Get().RegisteredInterfaces();
  EXPECT_NE(std::find(registered.begin(), registered.end(), "POSStreamerInterface"),
            registered.end());
  EXPECT_EQ(std::find(registered.begin(), registered.end(), "POSStructValidatorInterface"),
            registered.end());
  library_->Stop();
}

}  // namespace
}  // namespace moxtest
