// "MOXCacheInterface": a cost-bounded cache of client data.
//
// A cache identifier is the client's handle on one piece of data. Entering it
// into the cache (Add) makes its data purgeable: purges drop the least
// recently added or updated entries first, calling the client's purge
// procedure, and skip entries marked no-purge. The cache itself holds no
// reference to an identifier; the last Release takes it out of the cache and
// drops its data. All cache state sits behind one mutex; client procedures
// are always called with it released.
#ifndef MOXHOST_CACHE_H_
#define MOXHOST_CACHE_H_

#include "registry.h"

namespace moxhost {

InterfaceRows CacheInterface();

}  // namespace moxhost

#endif  // MOXHOST_CACHE_H_
