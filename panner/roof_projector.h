// RoofProjector: the ceiling of a layout with two overhead speakers at the
// sides and none in the upper corners (7.1.2). The ceiling is a tent of ten
// triangles over the floor rectangle, its ridge running from left to right: a
// flat ridge between y -r and r, slopes down to the floor at the front and rear
// walls, and the two side walls. A position beyond the tent is pulled back
// along its line to the middle of the floor until it lies on the tent; a
// position inside stays. Coordinates are centred (-0.5 to 0.5).
#pragma once

#include <array>

namespace Tannhofen::Panner {

class RoofProjector {
public:
    static constexpr int kVertices = 11;
    static constexpr int kTriangles = 10;
    using Vec3 = std::array<float, 3>;

    RoofProjector();

    // Width of the ridge, 0 to 1 (clamped); the ridge runs from -w/2 to w/2 in y.
    void setRidgeWidth(float width);
    void setFloor(float z);
    void setCeiling(float z);
    float floorHeight() const { return floor; }
    float ceilingHeight() const { return ceiling; }

    // Moves (x, y, z) onto the tent when it lies beyond it; z below the floor
    // is first raised to the floor. Ten ray-triangle tests at most, no allocation.
    void project(float& x, float& y, float& z) const;

private:
    std::array<Vec3, kVertices> vertices{};
    Vec3 origin{};
    float ceiling = 0.5f;
    float floor = -0.5f;
};

} // namespace Tannhofen::Panner
