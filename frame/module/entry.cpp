// Module entry points. The factory arrives with the plug-in frame.
#define PLX_EXPORT extern "C" __attribute__((visibility("default")))

PLX_EXPORT bool InitDll() { return true; }
PLX_EXPORT bool ExitDll() { return true; }
PLX_EXPORT void* GetPluginFactory() { return nullptr; }
