/* Linked into the test programs and the host of sanitizer builds only. MLT
 * unloads its plug-in modules when the process exits, before the leak check
 * runs, and a leak report can then no longer name the module that made an
 * allocation: the suppressions could not tell MLT's own leftovers from ours.
 * A dlclose of the executable's own takes the place of the C library's for
 * every library in the process, and keeping every module mapped to the end
 * costs nothing in a test. */
int dlclose(void* handle) {
    (void)handle;
    return 0;
}
