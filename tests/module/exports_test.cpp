// The module file exports exactly its three entry points, as a host sees them.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <set>
#include <string>

namespace {

std::set<std::string> definedDynamicSymbols(const std::string& path) {
    std::set<std::string> names;
    const std::string command = "nm -D --defined-only '" + path + "' 2>/dev/null";
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    if (!pipe) return names;
    std::array<char, 512> line{};
    while (fgets(line.data(), line.size(), pipe.get())) {
        char type = 0;
        char name[400] = {};
        unsigned long long address = 0;
        if (sscanf(line.data(), "%llx %c %399s", &address, &type, name) == 3 && (type == 'T' || type == 'W'))
            names.insert(name);
    }
    return names;
}

} // namespace

TEST(ModuleExports, ExactlyTheThreeEntryPoints) {
    const auto names = definedDynamicSymbols(PLX_MODULE_PATH);
    EXPECT_EQ(names, (std::set<std::string>{"ExitDll", "GetPluginFactory", "InitDll"}));
}
