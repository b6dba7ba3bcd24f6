// The module's three exports. Everything behind them lives in the frame.
#include <dlfcn.h>

#include "dsp/vec/vec.h"
#include "frame/factory.h"
#include "module/class_table.h"

#define PLX_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

// The module's own handle, found through an address inside it.
void* ownModuleHandle() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&ownModuleHandle), &info) == 0 || !info.dli_fname) return nullptr;
    // RTLD_NOLOAD only looks the loaded module up; the reference it adds is
    // given back at once, so the handle stays valid exactly as long as the
    // host keeps the module loaded.
    void* handle = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
    if (handle) dlclose(handle);
    return handle;
}

} // namespace

PLX_EXPORT bool InitDll() {
    return Tannhofen::Plx::initModule(ownModuleHandle());
}

PLX_EXPORT bool ExitDll() {
    const bool exited = Tannhofen::Plx::exitModule();
    Tannhofen::DSP::Vec::fftReleasePlanner();
    return exited;
}

PLX_EXPORT Tannhofen::Plx::IPlxFactory* GetPluginFactory() {
    return Tannhofen::Plx::getPluginFactory(Tannhofen::Plx::moduleClassTable());
}
