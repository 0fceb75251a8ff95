// The library's one exported function: the whole life of the service.
#include "host/service.h"

extern "C" __attribute__((visibility("default"))) int InitInstance(const char* pipeName) {
    return runService(pipeName ? pipeName : "");
}
