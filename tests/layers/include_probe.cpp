// One source of a layer that includes one header, named by the build: the
// layer tests compile it to prove which headers a layer can reach.
#include MOX_PROBE_HEADER
