// plx remote-map: prints the remote map that an effect's controller writes
// when a host asks for its XML representation, for the arrangements given.
#include <cstdio>
#include <optional>

#include "frame/ixmlrepresentation.h"
#include "frame/text.h"
#include "host/lib/memory_stream.h"
#include "host/plx/cli.h"
#include "host/plx/commands.h"
#include "host/plx/render.h"

namespace Tannhofen::Host::Cli {

using namespace Plx;

int remoteMapCommand(const std::vector<std::string>& args) {
    const Options options(args, {"module", "effect", "in-layout", "out-layout", "representation"}, {});
    const std::string effectName = options.require("effect");
    std::optional<SpeakerArrangement> in, out;
    if (options.has("in-layout")) in = layoutOption(options.get("in-layout"));
    if (options.has("out-layout")) out = layoutOption(options.get("out-layout"));
    ModuleSession session(options.get("module", defaultModulePath()));
    Effect effect(session, session.findEffect(effectName));
    if (in || out) negotiate(effect, in ? *in : effect.inputArrangement(), out);

    IPtr<IPlxXmlRepresentationController> maps = IPtr<IPlxXmlRepresentationController>::adopt(
        queryInterfaceOf<IPlxXmlRepresentationController>(effect.controller()));
    if (!maps) throw UserError(effect.name() + " has no remote map");
    RepresentationInfo info{};
    copyBounded(info.vendor, sizeof info.vendor, "Tannhofen");
    copyBounded(info.name, sizeof info.name, options.get("representation", "Generic Remote").c_str());
    copyBounded(info.version, sizeof info.version, "1.0");
    copyBounded(info.host, sizeof info.host, "plx");
    IPtr<MemoryStream> stream = IPtr<MemoryStream>::adopt(MemoryStream::create());
    if (maps->getXmlRepresentationSource(info, stream.get()) != kResultOk)
        throw UserError(effect.name() + " could not write its remote map");
    const std::vector<uint8_t>& bytes = stream->bytes();
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    return 0;
}

} // namespace Tannhofen::Host::Cli
