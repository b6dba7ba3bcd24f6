#include "host/lib/module.h"

#include <cstring>
#include <dlfcn.h>

namespace Tannhofen::Host {

using namespace Plx;

std::unique_ptr<Module> Module::load(const std::string& path, std::string* error) {
    auto fail = [&](const std::string& why) {
        if (error) *error = why;
        return std::unique_ptr<Module>();
    };
    std::unique_ptr<Module> module(new Module);
    module->handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module->handle) {
        const char* why = dlerror();
        return fail(why ? why : "cannot load " + path);
    }
    module->initFunc = reinterpret_cast<InitDllFunc>(dlsym(module->handle, "InitDll"));
    module->exitFunc = reinterpret_cast<ExitDllFunc>(dlsym(module->handle, "ExitDll"));
    module->factoryFunc = reinterpret_cast<GetPluginFactoryFunc>(dlsym(module->handle, "GetPluginFactory"));
    if (!module->initFunc || !module->exitFunc || !module->factoryFunc)
        return fail(path + " lacks InitDll, ExitDll or GetPluginFactory");
    if (!module->initFunc()) return fail("InitDll of " + path + " failed");
    module->initialized = true;
    module->factoryPtr = module->factoryFunc();
    return module;
}

Module::~Module() {
    if (factoryPtr) factoryPtr->release();
    if (initialized) exitFunc();
    if (handle) dlclose(handle);
}

std::vector<ClassInfo2> Module::classes() const {
    std::vector<ClassInfo2> result;
    IPtr<IPlxFactory2> factory2 = IPtr<IPlxFactory2>::adopt(queryInterfaceOf<IPlxFactory2>(factoryPtr));
    if (!factory2) return result;
    for (int32 i = 0; i < factory2->countClasses(); ++i) {
        ClassInfo2 info{};
        if (factory2->getClassInfo2(i, &info) == kResultOk) result.push_back(info);
    }
    return result;
}

std::optional<FUID> Module::findClass(const std::string& name) const {
    for (const ClassInfo2& info : classes())
        if (std::strncmp(info.name, name.c_str(), sizeof info.name) == 0) return FUID(info.cid);
    return std::nullopt;
}

} // namespace Tannhofen::Host
