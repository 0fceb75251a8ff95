// quillavant-host PIPE_NAME: loads the engine library beside this executable
// and runs its service on the named pipe until the client closes it.
#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

std::string executableDirectory() {
    char buffer[PATH_MAX + 1] = {};
    ssize_t length = readlink("/proc/self/exe", buffer, PATH_MAX);
    if (length <= 0) {
        return ".";
    }
    std::string path(buffer, static_cast<size_t>(length));
    return path.substr(0, path.find_last_of('/'));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
        std::fprintf(stderr,
                     "usage: quillavant-host PIPE_NAME\n"
                     "Runs the Quillavant engine service on the pipe PIPE_NAME (a socket in\n"
                     "$QUILLAVANT_PIPE_DIR, else $XDG_RUNTIME_DIR, else /tmp) until the client\n"
                     "sends the close request or disconnects.\n");
        return argc == 2 ? 0 : 2;
    }
    std::string library = executableDirectory() + "/libQuillavantImplement.so";
    void* module = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        std::fprintf(stderr, "quillavant-host: cannot load %s: %s\n", library.c_str(), dlerror());
        return 1;
    }
    using InitInstanceFunction = int (*)(const char*);
    auto initInstance = reinterpret_cast<InitInstanceFunction>(dlsym(module, "InitInstance"));
    if (initInstance == nullptr) {
        std::fprintf(stderr, "quillavant-host: %s has no InitInstance\n", library.c_str());
        return 1;
    }
    return initInstance(argv[1]);
}
