// The idle-inhibit protocol's interface descriptions, as wayland-scanner writes them (in C),
// built as C++: the header first, so that they keep the external linkage it declares.
#include "idle-inhibit-unstable-v1-client-protocol.h"
#include "idle-inhibit-unstable-v1-protocol.c"
