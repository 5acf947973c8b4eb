// A small shared library for the tests of bosLoadLibrary and
// vxGetProcAddr: one function with a known answer.
extern "C" __attribute__((visibility("default"))) int vxTestPluginAnswer() { return 42; }
