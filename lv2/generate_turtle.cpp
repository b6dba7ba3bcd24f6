// lv2-turtle BUNDLE_DIR BINARY: writes manifest.ttl and Tannhofen.ttl into the
// bundle, from the module file that the bundle already holds. Run by the
// build after the module and the bridge library are in place.
#include <cstdio>
#include <fstream>
#include <string>

#include "lv2/describe.h"

namespace {

bool writeFile(const std::string& path, const std::string& text) {
    // Written beside and renamed, so that a failed run leaves no half file.
    const std::string temporary = path + ".part";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << text;
        if (!out.flush()) return false;
    }
    return std::rename(temporary.c_str(), path.c_str()) == 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: lv2-turtle BUNDLE_DIR BINARY\n");
        return 1;
    }
    const std::string dir = std::string(argv[1]) + "/";
    Tannhofen::Lv2::BundleDescription description;
    std::string error;
    if (!Tannhofen::Lv2::describeBundle(dir, &description, &error)) {
        std::fprintf(stderr, "lv2-turtle: %s\n", error.c_str());
        return 1;
    }
    if (description.plugins.empty()) {
        std::fprintf(stderr, "lv2-turtle: the module can create none of the bundle's effects\n");
        return 1;
    }
    const std::string dataFile = "Tannhofen.ttl";
    if (!writeFile(dir + "manifest.ttl",
                   Tannhofen::Lv2::manifestTurtle(description.plugins, argv[2], dataFile)) ||
        !writeFile(dir + dataFile, Tannhofen::Lv2::pluginsTurtle(description.plugins, description.vendor))) {
        std::fprintf(stderr, "lv2-turtle: cannot write into %s\n", argv[1]);
        return 1;
    }
    std::printf("Tannhofen.lv2: %zu plug-ins described\n", description.plugins.size());
    for (const std::string& line : description.skipped) std::printf("  left out: %s\n", line.c_str());
    return 0;
}
