#include "panner/image_layout.h"

#include <cstddef>

namespace Tannhofen::Panner {

using Mix::SpeakerGrid;

namespace {

// Height of each layer by the number of rows of the layout.
float layerHeight(uint32_t layers, uint32_t layer) {
    switch (layers) {
    case 2: return layer == 0 ? 0.0f : 0.5f;
    case 3: return layer == 0 ? -0.5f : layer == 1 ? 0.0f : 0.5f;
    default: return 0.0f;
    }
}

// Grid-order index of the first channel of `layer`.
int32_t firstChannelOf(const SpeakerGrid& grid, uint32_t layer) {
    int32_t index = 0;
    for (uint32_t l = 0; l < layer; ++l)
        for (uint32_t j = 0; j < grid.zonesOfLayer(l); ++j) index += static_cast<int32_t>(grid.countOf(l, j));
    return index;
}

} // namespace

uint32_t middleLayerOf(const SpeakerGrid& grid) {
    return grid.layers() == SpeakerGrid::kRows ? 1 : 0;
}

void layoutPositions(const SpeakerGrid& grid, std::vector<Point3>& positions) {
    positions.assign(grid.mainCount(), Point3{0.0f, 0.0f, 0.0f});
    const uint32_t layers = grid.layers();
    const uint32_t middle = middleLayerOf(grid);
    std::size_t channel = 0;
    for (uint32_t l = 0; l < layers; ++l) {
        const float z = layerHeight(layers, l);
        const uint32_t zones = grid.zonesOfLayer(l);
        const bool loneZone = grid.usedZonesOfLayer(l) < 2;
        for (uint32_t r = 0; r < zones; ++r) {
            float y;
            if (l != middle)
                y = static_cast<float>(r) * 0.5f - 0.5f;
            else if (loneZone)
                y = 0.0f;
            else
                y = static_cast<float>(r) / static_cast<float>(zones - 1) - 0.5f;
            const uint32_t count = grid.countOf(l, r);
            const float columnStep = count > 1 ? 1.0f / static_cast<float>(count - 1) : 0.0f;
            for (uint32_t c = 0; c < count && channel < positions.size(); ++c, ++channel) {
                const float x = columnStep > 0.0f ? static_cast<float>(c) * columnStep - 0.5f : 0.0f;
                positions[channel] = {x, y, z};
            }
        }
    }
}

int32_t firstFilledZone(const SpeakerGrid& grid) {
    if (grid.layers() == 0) return -1;
    const uint32_t middle = middleLayerOf(grid);
    for (uint32_t r = 0; r < grid.zonesOfLayer(middle); ++r)
        if (grid.countOf(middle, r) > 0) return static_cast<int32_t>(r);
    return -1;
}

bool handleChannels(const SpeakerGrid& grid, int32_t& left, int32_t& right) {
    const int32_t zone = firstFilledZone(grid);
    if (zone < 0) return false;
    const uint32_t middle = middleLayerOf(grid);
    left = firstChannelOf(grid, middle);
    for (int32_t r = 0; r < zone; ++r)
        left += static_cast<int32_t>(grid.countOf(middle, static_cast<uint32_t>(r)));
    right = left + static_cast<int32_t>(grid.countOf(middle, static_cast<uint32_t>(zone))) - 1;
    return true;
}

ImageShape imageShapeOf(const SpeakerGrid& grid, const std::vector<Point3>& positions) {
    ImageShape shape;
    shape.multiChannel = grid.mainCount() >= 2;
    shape.multiLayer = grid.layers() > 1;
    if (grid.layers() > 0) shape.multiZone = grid.usedZonesOfLayer(middleLayerOf(grid)) >= 2;
    int32_t left = 0, right = 0;
    if (handleChannels(grid, left, right) && static_cast<std::size_t>(right) < positions.size()) {
        shape.frontChannels = right - left + 1;
        for (int k = 0; k < 3; ++k)
            shape.handleMiddle[k] = (positions[static_cast<std::size_t>(left)][k] +
                                     positions[static_cast<std::size_t>(right)][k]) *
                                    0.5f;
    }
    return shape;
}

} // namespace Tannhofen::Panner
