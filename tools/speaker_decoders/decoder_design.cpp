#include "tools/speaker_decoders/decoder_design.h"

#include <lapacke.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <set>
#include <stdexcept>

namespace Tannhofen::Tools {

namespace {

constexpr double kRad = std::numbers::pi / 180.0;

int channelsOf(int order) {
    return (order + 1) * (order + 1);
}
int degreeOf(int acn) {
    return int(std::sqrt(double(acn)) + 1e-9);
}

double dot(const Vec3& a, const Vec3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Vec3 minus(const Vec3& a, const Vec3& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
Vec3 normalised(const Vec3& a) {
    double n = std::sqrt(dot(a, a));
    return {a[0] / n, a[1] / n, a[2] / n};
}
double det3(const Vec3& a, const Vec3& b, const Vec3& c) {
    return dot(a, cross(b, c));
}

// Legendre polynomial P_n and its derivative at x, by the three-term recurrence.
void legendre(int n, double x, double& p, double& dp) {
    double p0 = 1, p1 = x;
    if (n == 0) {
        p = 1;
        dp = 0;
        return;
    }
    for (int k = 2; k <= n; ++k) {
        double pk = ((2 * k - 1) * x * p1 - (k - 1) * p0) / k;
        p0 = p1;
        p1 = pk;
    }
    p = p1;
    dp = n * (x * p1 - p0) / (x * x - 1);
}

double factorial(int n) {
    double f = 1;
    for (int k = 2; k <= n; ++k) f *= k;
    return f;
}

// Moore-Penrose pseudo-inverse of the rows x columns matrix a (row-major),
// through the singular value decomposition; columns x rows.
std::vector<double> pseudoInverse(std::vector<double> a, int rows, int columns) {
    int k = std::min(rows, columns);
    std::vector<double> s(k), u(size_t(rows) * k), vt(size_t(k) * columns), superb(k);
    int info = LAPACKE_dgesvd(LAPACK_ROW_MAJOR, 'S', 'S', rows, columns, a.data(), columns, s.data(),
                              u.data(), k, vt.data(), columns, superb.data());
    if (info != 0) throw std::runtime_error("singular value decomposition failed");
    std::vector<double> p(size_t(columns) * rows, 0.0);
    double cutoff = s[0] * 1e-10;
    for (int i = 0; i < k; ++i) {
        if (s[i] <= cutoff) continue;
        for (int c = 0; c < columns; ++c)
            for (int r = 0; r < rows; ++r)
                p[size_t(c) * rows + r] += vt[size_t(i) * columns + c] * u[size_t(r) * k + i] / s[i];
    }
    return p;
}

// Scale of the sectoral harmonic of degree n on the horizon: its value at azimuth 0.
double sectoralScale(int n) {
    return sn3dHarmonics(n, {0, 0})[size_t(n * n + 2 * n)];
}

// Hull faces of points on the unit sphere around the origin, brute force
// (layouts have a few dozen speakers): every plane through three points with
// no point outside it. A face with more than three points on it is returned
// once, with all of them.
std::vector<std::vector<int>> hullFaces(const std::vector<Vec3>& points) {
    const int n = int(points.size());
    const double eps = 1e-9;
    std::set<std::vector<int>> faces;
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < n; ++j)
            for (int k = j + 1; k < n; ++k) {
                Vec3 normal = cross(minus(points[j], points[i]), minus(points[k], points[i]));
                double length = std::sqrt(dot(normal, normal));
                if (length < 1e-12) continue;
                normal = {normal[0] / length, normal[1] / length, normal[2] / length};
                double offset = dot(normal, points[i]);
                if (std::abs(offset) < 1e-9) continue; // a plane through the origin is no face
                if (offset < 0) {
                    normal = {-normal[0], -normal[1], -normal[2]};
                    offset = -offset;
                }
                std::vector<int> on;
                bool outside = false;
                for (int l = 0; l < n && !outside; ++l) {
                    double d = dot(normal, points[l]) - offset;
                    if (d > eps)
                        outside = true;
                    else if (d > -eps)
                        on.push_back(l);
                }
                if (!outside) faces.insert(on);
            }
    return {faces.begin(), faces.end()};
}

} // namespace

Vec3 unitVector(Direction d) {
    double a = d.azimuth * kRad, b = d.elevation * kRad;
    return {std::cos(a) * std::cos(b), std::sin(a) * std::cos(b), std::sin(b)};
}

std::vector<double> sn3dHarmonics(int order, Direction d) {
    const double a = d.azimuth * kRad, x = std::sin(d.elevation * kRad), s = std::cos(d.elevation * kRad);
    // p[l][m]: associated Legendre functions of sin(elevation), no Condon-Shortley phase.
    double p[4][4] = {};
    for (int m = 0; m <= order; ++m) {
        p[m][m] = m == 0 ? 1.0 : (2 * m - 1) * s * p[m - 1][m - 1];
        if (m + 1 <= order) p[m + 1][m] = x * (2 * m + 1) * p[m][m];
        for (int l = m + 2; l <= order; ++l)
            p[l][m] = ((2 * l - 1) * x * p[l - 1][m] - (l + m - 1) * p[l - 2][m]) / (l - m);
    }
    std::vector<double> y(size_t(channelsOf(order)));
    for (int l = 0; l <= order; ++l)
        for (int m = 0; m <= l; ++m) {
            double norm = std::sqrt((m == 0 ? 1.0 : 2.0) * factorial(l - m) / factorial(l + m));
            y[size_t(l * l + l + m)] = norm * p[l][m] * std::cos(m * a);
            if (m > 0) y[size_t(l * l + l - m)] = norm * p[l][m] * std::sin(m * a);
        }
    return y;
}

bool vanishesOnHorizon(int acn) {
    int n = degreeOf(acn), m = acn - n * n - n;
    return (n - std::abs(m)) % 2 == 1;
}

bool isSectoral(int acn) {
    int n = degreeOf(acn), m = acn - n * n - n;
    return std::abs(m) == n;
}

std::vector<double> maxReWeights(int order, bool horizontal) {
    std::vector<double> w(size_t(order + 1));
    if (horizontal) {
        for (int n = 0; n <= order; ++n) w[size_t(n)] = std::cos(n * std::numbers::pi / (2 * order + 2));
        return w;
    }
    // Largest root of P_(order+1), by Newton from the approximation 137.9 / (order + 1.51) degrees.
    double x = std::cos(137.9 / (order + 1.51) * kRad);
    for (int it = 0; it < 50; ++it) {
        double p, dp;
        legendre(order + 1, x, p, dp);
        x -= p / dp;
    }
    for (int n = 0; n <= order; ++n) {
        double p, dp;
        legendre(n, x, p, dp);
        w[size_t(n)] = p;
    }
    return w;
}

PanningHull buildPanningHull(const std::vector<Direction>& speakers) {
    PanningHull hull;
    const size_t count = speakers.size();
    for (size_t s = 0; s < count; ++s) {
        hull.points.push_back(unitVector(speakers[s]));
        std::vector<double> share(count, 0.0);
        share[s] = 1;
        hull.toReal.push_back(share);
    }
    // Below the lowest layer: an imaginary speaker whose signal is dropped, so
    // that sources below pan to silence instead of across the room.
    hull.points.push_back({0, 0, -1});
    hull.toReal.push_back(std::vector<double>(count, 0.0));

    // A face with four or more speakers (the symmetric layouts have many, such
    // as a square top layer) gets an imaginary speaker at its middle, shared
    // equally among them in power, so that no arbitrary diagonal breaks the
    // layout's symmetry. The new points make fans of triangles of those faces.
    for (int pass = 0; pass < 8; ++pass) {
        auto faces = hullFaces(hull.points);
        bool added = false;
        hull.triangles.clear();
        for (const auto& face : faces) {
            if (face.size() == 3) {
                hull.triangles.push_back({face[0], face[1], face[2]});
                continue;
            }
            Vec3 middle = {0, 0, 0};
            std::vector<double> share(count, 0.0);
            for (int v : face) {
                for (int c = 0; c < 3; ++c) middle[size_t(c)] += hull.points[size_t(v)][size_t(c)];
                for (size_t s = 0; s < count; ++s)
                    share[s] += hull.toReal[size_t(v)][s] / std::sqrt(double(face.size()));
            }
            hull.points.push_back(normalised(middle));
            hull.toReal.push_back(share);
            added = true;
        }
        if (!added) return hull;
    }
    throw std::runtime_error("hull did not settle into triangles");
}

std::vector<double> vbapGains(const PanningHull& hull, const Vec3& direction) {
    double best = -1e9;
    std::array<double, 3> bestGains{};
    const std::array<int, 3>* bestTriangle = nullptr;
    for (const auto& t : hull.triangles) {
        const Vec3& a = hull.points[size_t(t[0])];
        const Vec3& b = hull.points[size_t(t[1])];
        const Vec3& c = hull.points[size_t(t[2])];
        double d = det3(a, b, c);
        std::array<double, 3> g = {det3(direction, b, c) / d, det3(a, direction, c) / d,
                                   det3(a, b, direction) / d};
        double smallest = std::min({g[0], g[1], g[2]});
        if (smallest > best) {
            best = smallest;
            bestGains = g;
            bestTriangle = &t;
        }
    }
    if (!bestTriangle || best < -1e-6) throw std::runtime_error("direction outside every hull triangle");
    double power = 0;
    for (double& g : bestGains) {
        g = std::max(g, 0.0);
        power += g * g;
    }
    std::vector<double> gains(hull.toReal[0].size(), 0.0);
    for (int v = 0; v < 3; ++v)
        for (size_t s = 0; s < gains.size(); ++s)
            gains[s] +=
                bestGains[size_t(v)] / std::sqrt(power) * hull.toReal[size_t((*bestTriangle)[size_t(v)])][s];
    return gains;
}

std::vector<double> vbapRingGains(const std::vector<Direction>& speakers, double azimuth) {
    const size_t count = speakers.size();
    std::vector<double> gains(count, 0.0);
    // The pair of neighbours around the direction: the nearest speaker on
    // either side, counter-clockwise and clockwise.
    auto wrap = [](double x) { return std::fmod(std::fmod(x, 360.0) + 360.0, 360.0); };
    size_t left = 0, right = 0;
    double toLeft = 1e9, toRight = 1e9;
    for (size_t s = 0; s < count; ++s) {
        double ccw = wrap(speakers[s].azimuth - azimuth);
        if (ccw < toLeft) toLeft = ccw, left = s;
        double cw = wrap(azimuth - speakers[s].azimuth);
        if (cw < toRight) toRight = cw, right = s;
    }
    if (toLeft + toRight >= 180.0 - 1e-9 && left != right)
        throw std::runtime_error("gap of 180 degrees or more on the ring");
    if (left == right || toLeft < 1e-12) {
        gains[left] = 1;
        return gains;
    }
    // p = g_l u_l + g_r u_r in the plane.
    double sl = std::sin(toLeft * kRad), sr = std::sin(toRight * kRad),
           sum = std::sin((toLeft + toRight) * kRad);
    double gl = sr / sum, gr = sl / sum, n = std::hypot(gl, gr);
    gains[left] = gl / n;
    gains[right] = gr / n;
    return gains;
}

std::vector<double> allRoundDecoder(const std::vector<Direction>& speakers, int order, bool horizontal,
                                    const std::vector<Direction>& virtualPoints) {
    const int channels = channelsOf(order);
    const size_t count = speakers.size();
    const auto weights = maxReWeights(order, horizontal);
    std::vector<double> decoder(count * size_t(channels), 0.0);
    if (horizontal) {
        // Sampling decoder on a ring of 360 virtual speakers: the panning
        // function sum_n w_n cos(n (a - a0)), from the sectoral harmonics only.
        const int ring = 360;
        for (int v = 0; v < ring; ++v) {
            double az = v - 180.0;
            auto y = sn3dHarmonics(order, {az, 0});
            auto g = vbapRingGains(speakers, az);
            for (int acn = 0; acn < channels; ++acn) {
                if (!isSectoral(acn)) continue;
                int n = degreeOf(acn);
                double c = n == 0 ? 1.0 : 2.0 * weights[size_t(n)] / (sectoralScale(n) * sectoralScale(n));
                for (size_t s = 0; s < count; ++s)
                    decoder[s * size_t(channels) + size_t(acn)] += g[s] * c * y[size_t(acn)] / ring;
            }
        }
        return decoder;
    }
    // Sampling decoder on the spherical design: the panning function
    // sum_n (2n + 1) w_n P_n(cos angle), by the addition theorem of SN3D.
    const PanningHull hull = buildPanningHull(speakers);
    const double points = double(virtualPoints.size());
    for (const auto& v : virtualPoints) {
        auto y = sn3dHarmonics(order, v);
        auto g = vbapGains(hull, unitVector(v));
        for (int acn = 0; acn < channels; ++acn) {
            int n = degreeOf(acn);
            double c = (2 * n + 1) * weights[size_t(n)] * y[size_t(acn)] / points;
            for (size_t s = 0; s < count; ++s) decoder[s * size_t(channels) + size_t(acn)] += g[s] * c;
        }
    }
    return decoder;
}

namespace {

// The terms of the refinement, per grid point of weight w (weights summing to
// 1), for speaker gains g = D y: energy E = sum g^2, energy vector
// V = sum g^2 u_s, its part along the source r = V.u and across it T = V - r u.
//   w (E - 1)^2 + kAcross w |T|^2 + kAlong w (E - r)^2, plus kHold |D - D0|^2.
constexpr double kAcross = 4.0;
constexpr double kAlong = 0.5;
constexpr double kHold = 1e-3;

struct Refinement {
    const std::vector<Direction>& speakers;
    size_t channels;
    std::vector<std::vector<double>> harmonics; // per grid point
    std::vector<Vec3> directions;               // per grid point
    std::vector<double> weights;                // per grid point, summing to 1
    std::vector<Vec3> units;                    // per speaker
    std::vector<double> start;                  // D0
    std::vector<bool> free;                     // per element of D

    double cost(const std::vector<double>& d, std::vector<double>& gradient) const {
        const size_t count = units.size();
        std::fill(gradient.begin(), gradient.end(), 0.0);
        std::vector<double> g(count), dg(count);
        double j = 0;
        for (size_t p = 0; p < harmonics.size(); ++p) {
            const auto& y = harmonics[p];
            const Vec3& u = directions[p];
            double energy = 0;
            Vec3 v = {0, 0, 0};
            for (size_t s = 0; s < count; ++s) {
                double x = 0;
                for (size_t c = 0; c < channels; ++c) x += d[s * channels + c] * y[c];
                g[s] = x;
                energy += x * x;
                for (int i = 0; i < 3; ++i) v[size_t(i)] += x * x * units[s][size_t(i)];
            }
            const double along = dot(v, u);
            const Vec3 across = {v[0] - along * u[0], v[1] - along * u[1], v[2] - along * u[2]};
            const double w = weights[p], e = energy - 1, a = energy - along;
            j += w * (e * e + kAcross * dot(across, across) + kAlong * a * a);
            for (size_t s = 0; s < count; ++s)
                dg[s] =
                    w * g[s] *
                    (4 * e + 4 * kAcross * dot(across, units[s]) + 4 * kAlong * a * (1 - dot(units[s], u)));
            for (size_t s = 0; s < count; ++s)
                for (size_t c = 0; c < channels; ++c) gradient[s * channels + c] += dg[s] * y[c];
        }
        for (size_t i = 0; i < d.size(); ++i) {
            double h = d[i] - start[i];
            j += kHold * h * h;
            gradient[i] += 2 * kHold * h;
            if (!free[i]) gradient[i] = 0;
        }
        return j;
    }
};

// Limited-memory BFGS with a backtracking line search.
std::vector<double> minimise(const Refinement& problem, std::vector<double> x, int iterations) {
    const size_t n = x.size(), memory = 12;
    std::vector<double> gradient(n), next(n), nextGradient(n), direction(n);
    std::vector<std::vector<double>> steps, changes;
    std::vector<double> rhos;
    double f = problem.cost(x, gradient);
    for (int it = 0; it < iterations; ++it) {
        // Two-loop recursion for the search direction.
        direction = gradient;
        std::vector<double> alphas(steps.size());
        for (size_t k = steps.size(); k-- > 0;) {
            double a = 0;
            for (size_t i = 0; i < n; ++i) a += steps[k][i] * direction[i];
            a *= rhos[k];
            alphas[k] = a;
            for (size_t i = 0; i < n; ++i) direction[i] -= a * changes[k][i];
        }
        if (!steps.empty()) {
            double sy = 0, yy = 0;
            for (size_t i = 0; i < n; ++i)
                sy += steps.back()[i] * changes.back()[i], yy += changes.back()[i] * changes.back()[i];
            for (double& v : direction) v *= sy / yy;
        }
        for (size_t k = 0; k < steps.size(); ++k) {
            double b = 0;
            for (size_t i = 0; i < n; ++i) b += changes[k][i] * direction[i];
            b *= rhos[k];
            for (size_t i = 0; i < n; ++i) direction[i] += steps[k][i] * (alphas[k] - b);
        }
        double slope = 0;
        for (size_t i = 0; i < n; ++i) slope -= gradient[i] * direction[i];
        if (slope >= 0) { // not a descent direction: restart along the gradient
            steps.clear(), changes.clear(), rhos.clear();
            direction = gradient;
            slope = 0;
            for (size_t i = 0; i < n; ++i) slope -= gradient[i] * gradient[i];
        }
        double t = 1, fNext = 0;
        for (int back = 0; back < 40; ++back, t *= 0.5) {
            for (size_t i = 0; i < n; ++i) next[i] = x[i] - t * direction[i];
            fNext = problem.cost(next, nextGradient);
            if (fNext <= f + 1e-4 * t * slope) break;
        }
        if (!(fNext < f)) break;
        std::vector<double> step(n), change(n);
        double sy = 0;
        for (size_t i = 0; i < n; ++i) {
            step[i] = next[i] - x[i];
            change[i] = nextGradient[i] - gradient[i];
            sy += step[i] * change[i];
        }
        if (sy > 1e-300) {
            steps.push_back(step), changes.push_back(change), rhos.push_back(1 / sy);
            if (steps.size() > memory)
                steps.erase(steps.begin()), changes.erase(changes.begin()), rhos.erase(rhos.begin());
        }
        const double gain = f - fNext;
        x.swap(next), gradient.swap(nextGradient), f = fNext;
        if (gain < 1e-14 * std::max(1.0, f)) break;
    }
    return x;
}

// The left-right mirror image of a decoder: speaker rows swapped with their
// mirrors, and the harmonics odd in azimuth (m < 0) negated.
std::vector<double> mirrored(const std::vector<double>& decoder, const std::vector<Direction>& speakers,
                             size_t channels) {
    std::vector<double> m(decoder.size());
    for (size_t s = 0; s < speakers.size(); ++s) {
        size_t t = speakers.size();
        for (size_t k = 0; k < speakers.size(); ++k)
            if (std::abs(speakers[k].elevation - speakers[s].elevation) < 1e-9 &&
                std::abs(std::remainder(speakers[k].azimuth + speakers[s].azimuth, 360.0)) < 1e-9)
                t = k;
        if (t == speakers.size()) throw std::runtime_error("layout is not left-right symmetric");
        for (size_t c = 0; c < channels; ++c) {
            int n = degreeOf(int(c));
            double sign = int(c) - n * n - n < 0 ? -1.0 : 1.0;
            m[t * channels + c] = sign * decoder[s * channels + c];
        }
    }
    return m;
}

} // namespace

std::vector<double> refineDecoder(const std::vector<double>& decoder, const std::vector<Direction>& speakers,
                                  int order, const std::vector<GridPoint>& grid) {
    const size_t channels = size_t(channelsOf(order));
    Refinement problem{speakers, channels, {}, {}, {}, {}, {}, {}};
    double total = 0;
    for (const auto& point : grid) total += point.weight;
    for (const auto& point : grid) {
        problem.harmonics.push_back(sn3dHarmonics(order, point.direction));
        problem.directions.push_back(unitVector(point.direction));
        problem.weights.push_back(point.weight / total);
    }
    for (const auto& s : speakers) problem.units.push_back(unitVector(s));
    // Work at unit mean energy.
    const double scale = 1 / std::sqrt(evaluateDecoder(decoder, speakers, order, grid).meanEnergy);
    for (double v : decoder) problem.start.push_back(v * scale);
    for (size_t i = 0; i < decoder.size(); ++i) {
        bool columnUsed = false;
        for (size_t s = 0; s < speakers.size(); ++s)
            columnUsed = columnUsed || decoder[s * channels + i % channels] != 0;
        problem.free.push_back(columnUsed);
    }
    auto refined = minimise(problem, problem.start, 3000);
    const auto mirror = mirrored(refined, speakers, channels);
    for (size_t i = 0; i < refined.size(); ++i) refined[i] = 0.5 * (refined[i] + mirror[i]) / scale;
    return refined;
}

std::vector<double> modeMatchingDecoder(const std::vector<Direction>& speakers, int order, bool horizontal) {
    const int channels = channelsOf(order);
    const int count = int(speakers.size());
    std::vector<int> used; // the ACN channels matched, and their scale to the orthonormal basis
    std::vector<double> scale;
    for (int acn = 0; acn < channels; ++acn) {
        int n = degreeOf(acn);
        if (horizontal && !isSectoral(acn)) continue;
        used.push_back(acn);
        scale.push_back(horizontal ? 1.0 / sectoralScale(n) : std::sqrt(2.0 * n + 1));
    }
    const int k = int(used.size());
    std::vector<double> basis(size_t(k) * size_t(count)); // k x speakers
    for (int s = 0; s < count; ++s) {
        auto y = sn3dHarmonics(order, speakers[size_t(s)]);
        for (int i = 0; i < k; ++i)
            basis[size_t(i) * size_t(count) + size_t(s)] = y[size_t(used[size_t(i)])] * scale[size_t(i)];
    }
    auto inverse = pseudoInverse(basis, k, count); // speakers x k
    std::vector<double> decoder(size_t(count) * size_t(channels), 0.0);
    for (int s = 0; s < count; ++s)
        for (int i = 0; i < k; ++i)
            decoder[size_t(s) * size_t(channels) + size_t(used[size_t(i)])] =
                inverse[size_t(s) * size_t(k) + size_t(i)] * scale[size_t(i)];
    return decoder;
}

std::vector<GridPoint> evaluationGrid(bool horizontal) {
    std::vector<GridPoint> grid;
    if (horizontal) {
        for (int az = -180; az < 180; ++az) grid.push_back({{double(az), 0}, 1.0});
        return grid;
    }
    // Rings every two degrees from the horizon up, each weighted by the area of
    // its band; the zenith is one point.
    for (int el = 0; el <= 90; el += 2) {
        double lo = std::max(el - 1, 0) * kRad, hi = std::min(el + 1, 90) * kRad;
        double band = 2 * std::numbers::pi * (std::sin(hi) - std::sin(lo));
        int around = el == 90 ? 1 : 180;
        for (int i = 0; i < around; ++i) grid.push_back({{-180.0 + 2.0 * i, double(el)}, band / around});
    }
    return grid;
}

DecoderFigures evaluateDecoder(const std::vector<double>& decoder, const std::vector<Direction>& speakers,
                               int order, const std::vector<GridPoint>& grid) {
    const size_t channels = size_t(channelsOf(order));
    std::vector<Vec3> units;
    for (const auto& s : speakers) units.push_back(unitVector(s));
    DecoderFigures f;
    double weightSum = 0, lowest = 1e300, highest = 0;
    for (const auto& point : grid) {
        auto y = sn3dHarmonics(order, point.direction);
        double energy = 0;
        Vec3 re = {0, 0, 0};
        for (size_t s = 0; s < speakers.size(); ++s) {
            double g = 0;
            for (size_t c = 0; c < channels; ++c) g += decoder[s * channels + c] * y[c];
            energy += g * g;
            for (int i = 0; i < 3; ++i) re[size_t(i)] += g * g * units[s][size_t(i)];
        }
        double length = 0, angle = 180;
        if (energy > 0) {
            re = {re[0] / energy, re[1] / energy, re[2] / energy};
            length = std::sqrt(dot(re, re));
            if (length > 0)
                angle =
                    std::acos(std::clamp(dot(re, unitVector(point.direction)) / length, -1.0, 1.0)) / kRad;
        }
        lowest = std::min(lowest, energy);
        highest = std::max(highest, energy);
        f.meanEnergy += point.weight * energy;
        f.meanReLength += point.weight * length;
        f.meanAngle += point.weight * angle;
        f.maxAngle = std::max(f.maxAngle, angle);
        weightSum += point.weight;
    }
    f.meanEnergy /= weightSum;
    f.meanReLength /= weightSum;
    f.meanAngle /= weightSum;
    f.spreadDb = lowest > 0 ? 10 * std::log10(highest / lowest) : INFINITY;
    return f;
}

} // namespace Tannhofen::Tools
