// "MOXFilterInterface": chains of filters ending in a data sink.
//
// Writing to a filter passes the bytes on to its target, through the client's
// write adapter for a client filter; a data sink ends the chain. Each filter
// holds one reference to its target. Close ends the data for the whole rest
// of the chain. The runtime implements no coding filter of its own: JPEG and
// the named PostScript filters answer "not supported".
#ifndef MOXHOST_FILTERS_H_
#define MOXHOST_FILTERS_H_

#include "registry.h"

namespace moxhost {

InterfaceRows FilterInterface();

}  // namespace moxhost

#endif  // MOXHOST_FILTERS_H_
