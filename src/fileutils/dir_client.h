// "MOXUtilsDirInterface" as the library's own client sees it: a table of the
// interface's methods fetched through the runtime, as any other component
// fetches them, and calls through it. The temporary-file streams reach their
// directory this way.
//
// Threads: any thread may call these; the table is reloaded when the
// runtime's unregister counter moves, with no lock (a slot is one aligned
// pointer).
#ifndef MOXUTILS_FILEUTILS_DIR_CLIENT_H_
#define MOXUTILS_FILEUTILS_DIR_CLIENT_H_

#include "MOXUtilsFileProcs.h"
#include "binding/host_tables.h"
#include "binding/method_rows.h"
#include "binding/string_holder.h"

MOX_DEFINE_SLOTS(MOXUtilsDirSlots, MOX_UTILS_DIR_INTERFACE_METHODS)

// Bound on demand: a failed load clears slot 0.
extern TMOXInterfaceTable<MOXUtilsDirSlots::Slot> gMOXUtilsDirTable;

namespace MOXUtilsDirClient {

// True when the interface's table is bound (reloaded first if stale). Once
// the library is bound a method the runtime lacks throws instead.
bool Bind();

// GetTempDir: a new directory of the temporary directory, unowned; null when
// the interface can't be bound.
MOXContainer GetTempDir();

// The methods below throw "Missing Interface" when the interface can't be
// bound, and the method's own error otherwise. Atoms returned belong to the
// holder.
CMOXStringHolder GetFilePathSpec(MOXContainer dir, const CMOXStringHolder& name);
CMOXStringHolder CreateUniqueFilename(MOXContainer dir, const CMOXStringHolder& stem,
                                      const CMOXStringHolder& second);
void Delete(MOXContainer dir, const CMOXStringHolder& name);

}  // namespace MOXUtilsDirClient

#endif  // MOXUTILS_FILEUTILS_DIR_CLIENT_H_
