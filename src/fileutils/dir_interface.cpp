#include "fileutils/dir_interface.h"

#include <cstring>
#include <utility>

#include "MOXUtilsFileProcs.h"
#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/host_tables.h"
#include "binding/utils_names.h"

namespace {

constexpr char kNullArgument[] = "null argument";

// Clears an out-parameter before the work, so that a failure leaves nothing
// behind in it.
template <typename T>
void Clear(T* out) {
  MOXRequireArgument(out);
  *out = T();
}

// A reference of the method's own on an atom the caller passed, for the
// length of the call.
CMOXStringHolder Borrow(MOXStringAtom atom) {
  MOXRequireArgument(atom);
  return CMOXStringHolder::Retain(atom);
}

// The atom of `holder` with one reference for the caller.
MOXStringAtom GiveAway(const CMOXStringHolder& holder) {
  return MOXString::AddRef(holder.Atom());
}

}  // namespace

MOX_DEFINE_SERVER_INTERFACE(kMOXUtilsDirServerInterface, MOX_UTILS_DIR_INTERFACE_NAME,
                            MOXUtilsDirEntries, MOX_UTILS_DIR_INTERFACE_METHODS);

void MOXRequireArgument(const void* argument) {
  if (argument == nullptr) throw TOVException(kNullArgument);
}

MOXUtilsDirImpl* MOXFindDirectory(MOXContainer handle) {
  void* instance = MOXFindInstance(handle, gMOXUtilsNames->fValidatorImpl);
  if (instance == nullptr) MOXThrowInvalidContainer();
  // A validator is found under the same name. Its second word is the tag, a
  // value that no pointer can have, whereas a directory's is the C string of
  // its path; reading it stays within either record.
  uintptr_t secondWord;
  std::memcpy(&secondWord, static_cast<const char*>(instance) + sizeof(uintptr_t),
              sizeof secondWord);
  if (secondWord == kMOXValidatorInstanceTag) MOXThrowInvalidContainer();
  return static_cast<MOXUtilsDirImpl*>(instance);
}

MOXContainer MOXNewDirectory(CMOXStringHolder path) {
  // On failure the runtime destroys the record through Destroy.
  return MOXNewFullContainer(new MOXUtilsDirImpl(std::move(path)), gMOXUtilsNames->fValidatorImpl,
                             &MOXUtilsDirImpl::Destroy, gMOXUtilsNames->fValidatorInterface);
}

namespace MOXUtilsDirEntries {

MOXErrorRef GetTempDir(MOXContainer* out) {
  return MOXErrorEntry([&] {
    Clear(out);
    *out = MOXNewDirectory(MOXTempDirPath());
  });
}

MOXErrorRef GetCurrent(MOXContainer* out) {
  return MOXErrorEntry([&] {
    Clear(out);
    *out = MOXNewDirectory(MOXCurrentDirPath());
  });
}

MOXErrorRef NewMOXUtilsDir(MOXContainer* out, MOXStringAtom path) {
  return MOXErrorEntry([&] {
    Clear(out);
    *out = MOXNewDirectory(Borrow(path));
  });
}

MOXErrorRef FileExists(uint8_t* exists, MOXContainer dir, MOXStringAtom name) {
  return MOXErrorEntry([&] {
    Clear(exists);
    const MOXUtilsDirImpl* directory = MOXFindDirectory(dir);
    *exists = directory->FileExists(Borrow(name).CString());
  });
}

MOXErrorRef Delete(MOXContainer dir, MOXStringAtom name) {
  return MOXErrorEntry([&] {
    const MOXUtilsDirImpl* directory = MOXFindDirectory(dir);
    directory->Delete(Borrow(name).CString());
  });
}

MOXErrorRef Rename(MOXContainer dir, MOXStringAtom oldName, MOXStringAtom newName) {
  return MOXErrorEntry([&] {
    const MOXUtilsDirImpl* directory = MOXFindDirectory(dir);
    CMOXStringHolder from = Borrow(oldName);
    CMOXStringHolder to = Borrow(newName);
    directory->Rename(from.CString(), to.CString());
  });
}

MOXErrorRef GetFilePathSpec(MOXStringAtom* path, MOXContainer dir, MOXStringAtom name) {
  return MOXErrorEntry([&] {
    Clear(path);
    const MOXUtilsDirImpl* directory = MOXFindDirectory(dir);
    *path = GiveAway(directory->Join(Borrow(name).CString()));
  });
}

MOXErrorRef CreateUniqueFilename(MOXStringAtom* name, MOXContainer dir, MOXStringAtom stem,
                                 MOXStringAtom /*second*/) {
  // The second atom is part of the method's form and has never had an
  // effect: it is neither read nor kept, and may be null.
  return MOXErrorEntry([&] {
    Clear(name);
    const MOXUtilsDirImpl* directory = MOXFindDirectory(dir);
    *name = GiveAway(directory->CreateUniqueFilename(Borrow(stem).CString()));
  });
}

}  // namespace MOXUtilsDirEntries
