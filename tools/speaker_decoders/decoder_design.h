// The design of the speaker decoder tables: all-round ambisonic decoding.
// A dense virtual layout (a spherical design, or a ring for layouts on the
// horizon) is decoded by a sampling decoder with max-rE weights, and each
// virtual speaker is panned onto the real ones by vector-base amplitude
// panning over the convex hull of the layout. Imaginary speakers fill what the
// hull leaves open: one below (its signal dropped), and one at the middle of
// every face with more than three speakers (its signal shared among them).
// Denser parts of a layout come out quieter than sparse ones with this method
// alone, so the result is refined by a numerical minimisation of the energy's
// spread and of the energy vector's error in direction.
//
// Also here: a plain mode-matching decoder (the pseudo-inverse of the
// speakers' harmonics) to compare against, and the figures of merit of a
// decoder over a grid of source directions.
//
// Matrices are row-major std::vector<double>, one row per speaker.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace Tannhofen::Tools {

using Vec3 = std::array<double, 3>;

struct Direction {
    double azimuth;   // degrees, positive to the left
    double elevation; // degrees, positive upwards
};

Vec3 unitVector(Direction d);

// Real spherical harmonics up to `order`, ACN order, SN3D, from the associated
// Legendre functions without the Condon-Shortley phase: (order + 1)^2 values.
std::vector<double> sn3dHarmonics(int order, Direction d);

// True for the harmonics that are odd in elevation and so vanish on the
// horizon; true for `sectoral` those with |m| = n, the ones a horizontal
// decoder uses.
bool vanishesOnHorizon(int acn);
bool isSectoral(int acn);

// Max-rE weights a_n, n = 0..order: for a decoder over the sphere P_n at the
// largest root of P_(order+1); on the horizon cos(n pi / (2 order + 2)).
std::vector<double> maxReWeights(int order, bool horizontal);

// A triangle of the hull, by point index, and the imaginary speakers' shares.
struct PanningHull {
    std::vector<Vec3> points;                  // real speakers first, then imaginary ones
    std::vector<std::array<int, 3>> triangles; // faces of the convex hull
    std::vector<std::vector<double>> toReal;   // per point: its gain on each real speaker
};

// The hull of the speakers for panning over the sphere: adds the speaker
// below and the face middles, then triangulates.
PanningHull buildPanningHull(const std::vector<Direction>& speakers);

// Vector-base amplitude panning of one direction onto the real speakers,
// with unit power before the imaginary speakers are shared out or dropped.
std::vector<double> vbapGains(const PanningHull& hull, const Vec3& direction);
// The same on the horizon: between the two neighbouring speakers of the ring.
std::vector<double> vbapRingGains(const std::vector<Direction>& speakers, double azimuth);

// The test directions: the horizon in steps of one degree, or the upper
// hemisphere in steps of two degrees, each with its area weight.
struct GridPoint {
    Direction direction;
    double weight;
};
std::vector<GridPoint> evaluationGrid(bool horizontal);

// All-round ambisonic decoder of the layout: speakers x (order + 1)^2, SN3D
// input. `virtualPoints` is the dense layout over the sphere (ignored when
// `horizontal`, which decodes on a ring of one degree spacing instead).
std::vector<double> allRoundDecoder(const std::vector<Direction>& speakers, int order, bool horizontal,
                                    const std::vector<Direction>& virtualPoints);

// Refines a decoder of the layout by minimising, over the grid, the squared
// deviation of the decoded energy from its mean, the squared part of the
// energy vector across the source direction, and a small pull towards an
// energy vector of length 1; starting from `decoder` and held near it. Only
// the columns that are nonzero in `decoder` change. The result is mirrored
// left to right and averaged, so that a symmetric layout keeps its symmetry.
std::vector<double> refineDecoder(const std::vector<double>& decoder, const std::vector<Direction>& speakers,
                                  int order, const std::vector<GridPoint>& grid);

// Mode-matching decoder: the pseudo-inverse of the speakers' orthonormal
// harmonics (circular ones only when `horizontal`), converted to SN3D input.
std::vector<double> modeMatchingDecoder(const std::vector<Direction>& speakers, int order, bool horizontal);

// Figures of a decoder over the test directions.
struct DecoderFigures {
    double meanEnergy = 0;   // area-weighted mean of the decoded energy, linear
    double spreadDb = 0;     // largest minus smallest energy, dB
    double meanReLength = 0; // area-weighted mean length of the energy vector rE
    double meanAngle = 0;    // area-weighted mean angle between rE and the source, degrees
    double maxAngle = 0;     // largest such angle, degrees
};

DecoderFigures evaluateDecoder(const std::vector<double>& decoder, const std::vector<Direction>& speakers,
                               int order, const std::vector<GridPoint>& grid);

} // namespace Tannhofen::Tools
