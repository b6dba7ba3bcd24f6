// Designs the speaker decoder tables of the module and writes them as source,
// with a design report beside this tool. Regenerate with
//
//   cmake --build build/release --target regenerate_speaker_decoders
//
// which runs design_speaker_decoders ambi/speaker_decoder_tables.cpp
// tools/speaker_decoders/design_report.md from the repository's top. The
// inputs are the module's own: the speaker directions of
// ambi/speaker_directions.cpp, and the 240-point spherical 21-design of the
// focus stage (ambi/tdesign_240.cpp) as the dense virtual layout.
//
// Tables kept as they are, not designed: "Mono" (W alone) and "Stereo" (W and
// Y as sum and difference) at every order, and the first-order "5.0" decoder
// with its "5.1" form. Every other table is an all-round ambisonic decoder for
// the speakers' directions, scaled so that its mean energy over the sources it
// serves (the horizon, or the upper hemisphere) equals that of the first-order
// "5.0" table over the horizon: switching order or layout keeps the loudness.
// The all-round decoder is then refined numerically for even energy and an
// energy vector that points at the source (see decoder_design.h).
#include "ambi/speaker_directions.h"
#include "ambi/tdesign_240.h"
#include "frame/speaker_arrangement_names.h"
#include "tools/speaker_decoders/decoder_design.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

using namespace Tannhofen;
using namespace Tannhofen::Tools;

namespace {

// The identifiers of the layouts in Plx::Layout, for the generated source.
const std::map<Plx::SpeakerArrangement, std::string> kLayoutIdentifiers = {
    {Plx::Layout::kMono, "kMono"},
    {Plx::Layout::kStereo, "kStereo"},
    {Plx::Layout::k5_0, "k5_0"},
    {Plx::Layout::k5_1, "k5_1"},
    {Plx::Layout::k7_1Music, "k7_1Music"},
    {Plx::Layout::k7_0_2, "k7_0_2"},
    {Plx::Layout::k7_1_2, "k7_1_2"},
    {Plx::Layout::k5_1_4, "k5_1_4"},
    {Plx::Layout::k10_1Auro3D, "k10_1Auro3D"},
    {Plx::Layout::k7_1_4, "k7_1_4"},
    {Plx::Layout::k22_2, "k22_2"},
};

// The first-order "5.0" decoder, columns W Y Z X, rows L R C Ls Rs.
const std::vector<double> kFirstOrder5_0 = {
    0.1216, 0.2648,  0, 0.2890,  //
    0.1216, -0.2648, 0, 0.2890,  //
    0.0507, 0,       0, 0.2181,  //
    0.2211, 0.2530,  0, -0.2419, //
    0.2211, -0.2530, 0, -0.2419,
};

struct Named {
    std::string shortName;
    std::vector<std::string> speakers; // one per output channel, in bit order
};

Named namesOf(Plx::SpeakerArrangement arrangement) {
    for (const auto& info : Plx::kArrangements)
        if (info.mask == arrangement) {
            Named n{info.shortName, {}};
            std::istringstream words(info.longName);
            for (std::string w; words >> w;) n.speakers.push_back(w);
            return n;
        }
    throw std::runtime_error("layout without a name");
}

// The focus stage's design, listed as (elevation, azimuth).
std::vector<Direction> virtualLayout() {
    std::vector<Direction> points;
    for (const auto& p : AmbiBin::kFocusDesign) points.push_back({double(p[1]), double(p[0])});
    return points;
}

// A fixed table of the layout's directional speakers, or an empty one when
// the table is to be designed.
std::vector<double> fixedTable(Plx::SpeakerArrangement arrangement, int order) {
    const int channels = (order + 1) * (order + 1);
    const Plx::SpeakerArrangement directional = arrangement & ~(Plx::Speaker::LFE | Plx::Speaker::LFE2);
    std::vector<double> t;
    if (directional == Plx::Layout::kMono) {
        t.assign(size_t(channels), 0.0);
        t[0] = 1;
    } else if (directional == Plx::Layout::kStereo) {
        t.assign(2 * size_t(channels), 0.0);
        t[0] = 0.5, t[1] = 0.5;
        t[size_t(channels)] = 0.5, t[size_t(channels) + 1] = -0.5;
    } else if (directional == Plx::Layout::k5_0 && order == 1) {
        t = kFirstOrder5_0;
    }
    return t;
}

std::string floatText(float v) {
    char buffer[32];
    auto end = std::to_chars(buffer, buffer + sizeof buffer, v).ptr;
    std::string s(buffer, end);
    if (s.find_first_of(".e") == std::string::npos) s += ".0";
    return s + "f";
}

std::string fixed(double v, int digits) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.*f", digits, v);
    return buffer;
}

struct Row {
    std::string layout;
    int order;
    bool designed;
    bool horizontal;
    DecoderFigures table, modeMatching;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: design_speaker_decoders TABLES_CPP REPORT_MD\n";
        return 1;
    }
    try {
        const auto design = virtualLayout();
        const auto horizon = evaluationGrid(true);
        const auto hemisphere = evaluationGrid(false);
        const std::vector<Direction> fivePointZero = {{30, 0}, {-30, 0}, {0, 0}, {110, 0}, {-110, 0}};
        const double referenceEnergy = evaluateDecoder(kFirstOrder5_0, fivePointZero, 1, horizon).meanEnergy;

        std::ostringstream data, index;
        std::vector<Row> rows;
        for (const auto& layout : AmbiBin::speakerLayouts()) {
            const Named names = namesOf(layout.arrangement);
            const bool horizontal = AmbiBin::isHorizontal(layout);
            const auto& grid = horizontal ? horizon : hemisphere;
            std::vector<Direction> speakers;
            for (const auto& s : layout.speakers) speakers.push_back({s.azimuth, s.elevation});
            const std::string id = kLayoutIdentifiers.at(layout.arrangement);
            for (int order = 1; order <= 3; ++order) {
                const size_t channels = size_t((order + 1) * (order + 1));
                std::vector<double> decoder = fixedTable(layout.arrangement, order);
                const bool designed = decoder.empty();
                if (designed) {
                    decoder = refineDecoder(allRoundDecoder(speakers, order, horizontal, design), speakers,
                                            order, grid);
                    double gain = std::sqrt(referenceEnergy /
                                            evaluateDecoder(decoder, speakers, order, grid).meanEnergy);
                    for (double& v : decoder) v *= gain;
                }
                // One row per output channel in bit order; LFE rows stay zero.
                std::vector<float> table;
                std::vector<double> shipped; // the directional rows as floats, for the figures
                const std::string name = id + "Order" + std::to_string(order);
                data << "// \"" << names.shortName << "\", order " << order
                     << (designed ? ", designed" : ", fixed") << "\nconst float " << name << "[] = {\n";
                size_t channel = 0;
                for (int bit = 0; bit < 64; ++bit) {
                    const Plx::SpeakerArrangement speaker = Plx::SpeakerArrangement(1) << bit;
                    if (!(layout.arrangement & speaker)) continue;
                    int s = -1;
                    for (size_t i = 0; i < layout.speakers.size(); ++i)
                        if (layout.speakers[i].speaker == speaker) s = int(i);
                    data << "    ";
                    for (size_t c = 0; c < channels; ++c) {
                        double v = s < 0 ? 0.0 : decoder[size_t(s) * channels + c];
                        if (horizontal && vanishesOnHorizon(int(c))) v = 0;
                        table.push_back(float(v));
                        if (s >= 0) shipped.push_back(double(float(v)));
                        data << floatText(float(v)) << ",";
                        data << (c + 1 < channels ? " " : "");
                    }
                    data << " // " << names.speakers[channel++] << "\n";
                }
                data << "};\n";
                index << "    {Plx::Layout::" << id << ", " << order << ", " << name << "},\n";
                rows.push_back({names.shortName, order, designed, horizontal,
                                evaluateDecoder(shipped, speakers, order, grid),
                                evaluateDecoder(modeMatchingDecoder(speakers, order, horizontal), speakers,
                                                order, grid)});
            }
        }

        std::ofstream out(argv[1]);
        out << "// Generated by tools/speaker_decoders from the speaker directions of\n"
               "// ambi/speaker_directions.cpp and the 240-point design of ambi/tdesign_240.cpp.\n"
               "// Do not edit. Regenerate: cmake --build build/release --target "
               "regenerate_speaker_decoders\n"
               "//\n"
               "// Rows follow the arrangement's set bits; columns are ACN channels, SN3D.\n"
               "// clang-format off\n"
               "#include \"ambi/speaker_decoders.h\"\n\n"
               "#include <array>\n\n"
               "namespace Tannhofen::AmbiBin {\n\nnamespace {\n\n"
            << data.str() << "\nconst std::array<SpeakerDecoderTable, " << rows.size() << "> kTables = {{\n"
            << index.str() << "}};\n\n} // namespace\n\n"
            << "std::span<const SpeakerDecoderTable> speakerDecoderTables() {\n    return kTables;\n}\n\n"
            << "} // namespace Tannhofen::AmbiBin\n";
        if (!out) throw std::runtime_error(std::string("cannot write ") + argv[1]);

        std::ostringstream report;
        report << "# Speaker decoder tables: design report\n\n"
                  "Printed by `design_speaker_decoders` (tools/speaker_decoders), which wrote\n"
                  "ambi/speaker_decoder_tables.cpp. Regenerate both with\n"
                  "`cmake --build build/release --target regenerate_speaker_decoders`.\n\n"
                  "Designed tables: all-round ambisonic decoding. A sampling decoder with max-rE\n"
                  "weights on the 240-point spherical 21-design of the focus stage (on a ring of\n"
                  "360 points for layouts on the horizon, from the sectoral harmonics only),\n"
                  "panned onto the speakers by VBAP over the convex hull, with an imaginary\n"
                  "speaker below (dropped) and one at the middle of each hull face of four or\n"
                  "more speakers (shared out in power); then refined by minimising, over the same\n"
                  "grid as below, the deviation of the energy from its mean and the part of rE\n"
                  "across the source direction, with a small pull towards rE of length 1, held\n"
                  "near the all-round decoder, and averaged with its left-right mirror image.\n"
                  "Each is scaled to the mean energy of the first-order \"5.0\" table over the\n"
                  "horizon, "
               << fixed(10 * std::log10(referenceEnergy), 2)
               << " dB.\n\n"
                  "Figures over the horizon in 1-degree steps (layouts on the horizon) or the\n"
                  "upper hemisphere in 2-degree steps, means weighted by area: spread of the\n"
                  "decoded energy (max - min), mean length of the energy vector rE, mean and\n"
                  "largest angle between rE and the source. MM: a plain mode-matching decoder\n"
                  "(pseudo-inverse of the speakers' orthonormal harmonics) of the same layout\n"
                  "and order, without weights, beside each designed table.\n\n"
                  "| Layout | Order | Table | Over | Spread dB | Mean rE | Mean angle | Max angle "
                  "| MM spread dB | MM mean rE | MM mean angle | MM max angle |\n"
                  "|---|---|---|---|---|---|---|---|---|---|---|---|\n";
        bool allPass = true;
        std::ostringstream checks;
        for (const auto& r : rows) {
            report << "| " << r.layout << " | " << r.order << " | " << (r.designed ? "designed" : "fixed")
                   << " | " << (r.horizontal ? "horizon" : "upper hemisphere") << " | "
                   << fixed(r.table.spreadDb, 2) << " | " << fixed(r.table.meanReLength, 3) << " | "
                   << fixed(r.table.meanAngle, 1) << " | " << fixed(r.table.maxAngle, 1) << " | "
                   << (r.designed ? fixed(r.modeMatching.spreadDb, 2) + " | " +
                                        fixed(r.modeMatching.meanReLength, 3) + " | " +
                                        fixed(r.modeMatching.meanAngle, 1) + " | " +
                                        fixed(r.modeMatching.maxAngle, 1)
                                  : std::string("- | - | - | -"))
                   << " |\n";
            if (r.designed && !(r.table.spreadDb < r.modeMatching.spreadDb)) {
                allPass = false;
                checks << "- FAIL " << r.layout << " order " << r.order
                       << ": spread not below mode-matching\n";
            }
            const bool target = r.order == 3 && (r.layout == "5.1.4" || r.layout == "7.1.4" ||
                                                 r.layout == "10.1 Auro-3D" || r.layout == "22.2");
            if (target) {
                bool ok = r.table.spreadDb <= 3.0 && r.table.meanAngle <= 10.0;
                allPass = allPass && ok;
                checks << "- " << (ok ? "pass" : "FAIL") << " " << r.layout << " order 3: spread "
                       << fixed(r.table.spreadDb, 2) << " dB (at most 3), mean angle "
                       << fixed(r.table.meanAngle, 1) << " degrees (at most 10)\n";
            }
        }
        report << "\nChecks: every designed table spreads its energy less than mode-matching"
               << (allPass ? "" : " (see failures below)") << ";\n"
               << "targets at order 3 over the upper hemisphere:\n\n"
               << checks.str();
        std::ofstream(argv[2]) << report.str();
        std::cout << report.str();
        return allPass ? 0 : 2;
    } catch (const std::exception& e) {
        std::cerr << "design_speaker_decoders: " << e.what() << "\n";
        return 1;
    }
}
