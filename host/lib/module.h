// Module: a plug-in module file loaded the way a host loads it, through its
// three exports and nothing else. load() calls InitDll and GetPluginFactory;
// the destructor releases the factory, calls ExitDll and unloads the file.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "frame/ifactory.h"

namespace Tannhofen::Host {

class Module {
public:
    using InitDllFunc = bool (*)();
    using ExitDllFunc = bool (*)();
    using GetPluginFactoryFunc = Plx::IPlxFactory* (*)();

    // Null with *error set when the file can't be loaded or lacks an export.
    // A module whose factory is null (copy protection) still loads.
    static std::unique_ptr<Module> load(const std::string& path, std::string* error = nullptr);
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    // The factory that load() asked for; null if the module gave none.
    Plx::IPlxFactory* factory() const { return factoryPtr; }
    // The factory's ClassInfo2 records, in its order.
    std::vector<Plx::ClassInfo2> classes() const;
    // The class ID of the class with this name, if the factory lists it.
    std::optional<Plx::FUID> findClass(const std::string& name) const;
    // An instance of class `cid` as interface I, with one reference; null on failure.
    template <class I>
    Plx::IPtr<I> createInstance(const Plx::FUID& cid) const {
        void* obj = nullptr;
        if (!factoryPtr || factoryPtr->createInstance(cid.toTUID(), I::iid, &obj) != Plx::kResultOk)
            return {};
        return Plx::IPtr<I>::adopt(static_cast<I*>(obj));
    }

    // Gives up the reference that load() took, as a host does before unloading.
    void releaseFactory() {
        if (factoryPtr) factoryPtr->release();
        factoryPtr = nullptr;
    }

    // The raw exports, for tests of the entry points themselves.
    bool initDll() const { return initFunc(); }
    bool exitDll() const { return exitFunc(); }
    Plx::IPlxFactory* getPluginFactory() const { return factoryFunc(); }

private:
    Module() = default;
    void* handle = nullptr;
    InitDllFunc initFunc = nullptr;
    ExitDllFunc exitFunc = nullptr;
    GetPluginFactoryFunc factoryFunc = nullptr;
    Plx::IPlxFactory* factoryPtr = nullptr;
    bool initialized = false;
};

} // namespace Tannhofen::Host
