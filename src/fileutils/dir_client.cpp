#include "fileutils/dir_client.h"

#include "binding/errors.h"

namespace {

void* gUtilsDirSlots[MOXUtilsDirSlots::kMethodCount];

// The table, bound; "Missing Interface" when it can't be.
const TMOXInterfaceTable<MOXUtilsDirSlots::Slot>& BoundTable() {
  if (!MOXUtilsDirClient::Bind()) MOXThrowMissingInterface();
  return gMOXUtilsDirTable;
}

}  // namespace

TMOXInterfaceTable<MOXUtilsDirSlots::Slot> gMOXUtilsDirTable(MOX_UTILS_DIR_INTERFACE_NAME,
                                                             gUtilsDirSlots, true);

namespace MOXUtilsDirClient {

bool Bind() {
  return gMOXUtilsDirTable.Get() != nullptr;
}

MOXContainer GetTempDir() {
  if (!Bind()) return nullptr;
  MOXContainer dir = nullptr;
  MOXCheck(gMOXUtilsDirTable.Proc<MOXUtilsDirSlots::GetTempDir>()(&dir));
  return dir;
}

CMOXStringHolder GetFilePathSpec(MOXContainer dir, const CMOXStringHolder& name) {
  MOXStringAtom path = nullptr;
  MOXCheck(BoundTable().Proc<MOXUtilsDirSlots::GetFilePathSpec>()(&path, dir, name.Atom()));
  return CMOXStringHolder::Adopt(path);
}

CMOXStringHolder CreateUniqueFilename(MOXContainer dir, const CMOXStringHolder& stem,
                                      const CMOXStringHolder& second) {
  MOXStringAtom name = nullptr;
  MOXCheck(BoundTable().Proc<MOXUtilsDirSlots::CreateUniqueFilename>()(&name, dir, stem.Atom(),
                                                                       second.Atom()));
  return CMOXStringHolder::Adopt(name);
}

void Delete(MOXContainer dir, const CMOXStringHolder& name) {
  MOXCheck(BoundTable().Proc<MOXUtilsDirSlots::Delete>()(dir, name.Atom()));
}

}  // namespace MOXUtilsDirClient
