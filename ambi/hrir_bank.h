// The HRIR sets of one decoder and the choice of the current one. The six
// built-in sets stay for the bank's whole life; a set from a file or a profile
// stays until a set of the same mode, order and name replaces it. `current`
// changes only during configuration, never while the decoder runs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ambi/hrir_factory.h"

namespace Tannhofen::AmbiBin {

template <class T>
class HrirBank {
public:
    // Builds the six built-in sets, (1, 1), (1, 2), (1, 3), (2, 1), (4, 2),
    // (4, 3) as (mode, order), and selects the standard third-order set.
    HrirBank();
    HrirBank(const HrirBank&) = delete;
    HrirBank& operator=(const HrirBank&) = delete;

    // The first set of this order and mode; for files and profiles (modes 3
    // and 5) the name must match too. Null if none does.
    IHrir<T>* find(int32_t mode, uint32_t order, const std::string& name) const;
    void remove(IHrir<T>* hrir);

    // Makes the set of (mode, order, name) current at sampleRate, building it
    // from a file (mode 3, a name ending in ".sofa") or a profile (mode 5, a
    // name with the profile prefix) when needed; forceReload rebuilds a file
    // set that is already there. 1 when the request was met; 0 when the
    // standard set of the order was taken instead, which getMode() of the
    // current set then shows. Allocates: configuration thread only.
    int32_t select(int32_t mode, float sampleRate, uint32_t order, const std::string& name,
                   IFactoryListener* listenerData, bool forceReload);

    IHrir<T>* getCurrent() const { return current; }
    size_t size() const { return hrirs.size(); }

    std::vector<std::shared_ptr<IHrir<T>>> hrirs;
    IHrir<T>* current = nullptr;
    HrirFactory<T> factory;
};

extern template class HrirBank<float>;
extern template class HrirBank<double>;

} // namespace Tannhofen::AmbiBin
