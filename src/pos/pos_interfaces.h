// The ten interfaces of the POS object model as the library registers them,
// in the order of registration: POSObjectInterface, POSObjectStatics,
// POSNumberInterface, POSStringInterface, POSUnicodeStringInterface,
// POSBinDataInterface, POSRawPointerInterface, POSArrayInterface,
// POSDictInterface, POSDictIteratorInterface.
//
// Every entry runs inside EntryGuard: an exception is reported to the
// runtime and the entry returns null, 0, 0.0 or false. Every handle an entry
// returns is unowned; entries that hand out a member (GetAt, Get, DeepGet)
// leave its count as it was.
#ifndef MOXUTILS_POS_POS_INTERFACES_H_
#define MOXUTILS_POS_POS_INTERFACES_H_

#include "binding/server_tables.h"

// The ten, registered at start in the order above and unregistered at stop in
// the same order. Their tables are generated from the method lists of
// POSProcs.h; the entries stand in NPOSObjectImpl::POS...Entries.
extern const MOXLayerInterfaces gPOSLayerInterfaces;

#endif  // MOXUTILS_POS_POS_INTERFACES_H_
