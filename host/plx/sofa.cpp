#include "host/plx/sofa.h"

#include <filesystem>
#include <system_error>

#include "frame/speaker_arrangement.h"
#include "host/plx/cli.h"
#include "host/plx/layout.h"
#include "host/plx/values.h"

namespace Tannhofen::Host::Cli {

namespace {

// The decoder editor's controls that plx uses. They answer by id like
// parameters, but are not in the host's list.
constexpr Plx::ParamID kStereoModeBinaural = 800; // on: stereo is decoded binaurally
constexpr Plx::ParamID kModeSofa = 805;           // on: the HRIR set comes from a SOFA file
constexpr Plx::ParamID kLoadSofa = 125;           // the button that opens the file selector

bool isOn(Effect& effect, Plx::ParamID id) {
    return effect.controller()->getParamNormalized(id) >= 0.5;
}

} // namespace

void chooseSofa(ModuleSession& session, Effect& effect, const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        throw UserError("--sofa: " + shown(path) + " is not a file");
    if (effect.outputArrangement() != Plx::Layout::kStereo || !isOn(effect, kStereoModeBinaural))
        throw UserError("--sofa is for binaural decoding (SphereDecoder to Stereo in binaural mode); " +
                        effect.name() + " to " + layoutName(effect.outputArrangement()) + " isn't that");
    // The decoder keeps the name for later sessions: the whole path, so that
    // it doesn't depend on the directory plx ran in.
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    session.host()->offerFile(widen(error ? path : absolute.string()));
    effect.controller()->setParamNormalized(kLoadSofa, 1.0);
    session.host()->offerFile(u"");
    if (!isOn(effect, kModeSofa))
        throw UserError("--sofa: " + effect.name() + " took no SOFA file " + shown(path) +
                        " (its name may be too long, or the effect has no SOFA choice)");
}

void checkSofaInForce(Effect& effect, const std::string& path) {
    effect.idle();
    if (!isOn(effect, kModeSofa))
        throw UserError("--sofa: " + shown(path) + " holds no HRIR set " + effect.name() +
                        " can use (it needs at least 20 directions, finite filters and a sample rate)");
}

} // namespace Tannhofen::Host::Cli
