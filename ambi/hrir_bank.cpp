#include "ambi/hrir_bank.h"

#include <algorithm>
#include <cctype>

namespace Tannhofen::AmbiBin {

namespace {

bool endsWithSofa(const std::string& name) {
    constexpr char kEnding[] = ".sofa";
    constexpr size_t n = sizeof(kEnding) - 1;
    if (name.size() < n) return false;
    return std::equal(name.end() - n, name.end(), kEnding,
                      [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
}

} // namespace

template <class T>
HrirBank<T>::HrirBank() {
    constexpr std::pair<int32_t, uint32_t> builtins[] = {{kHrirStandard, 1}, {kHrirStandard, 2},
                                                         {kHrirStandard, 3}, {kHrirYoutube, 1},
                                                         {kHrirFacebook, 2}, {kHrirFacebook, 3}};
    for (auto [mode, order] : builtins)
        if (auto set = factory.makeBuiltin(mode, order)) hrirs.push_back(std::move(set));
    current = find(kHrirStandard, 3, "");
}

template <class T>
IHrir<T>* HrirBank<T>::find(int32_t mode, uint32_t order, const std::string& name) const {
    std::string setName;
    for (const auto& set : hrirs) {
        if (set->getOrder() != order || set->getMode() != mode) continue;
        if (mode == kHrirSofa || mode == kHrirProfile) {
            set->getName(setName);
            if (setName != name) continue;
        }
        return set.get();
    }
    return nullptr;
}

template <class T>
void HrirBank<T>::remove(IHrir<T>* hrir) {
    if (hrir == current) current = nullptr;
    std::erase_if(hrirs, [hrir](const auto& set) { return set.get() == hrir; });
}

template <class T>
int32_t HrirBank<T>::select(int32_t mode, float sampleRate, uint32_t order, const std::string& name,
                            IFactoryListener* listenerData, bool forceReload) {
    const double rate = sampleRate;
    const bool wantsFile = mode == kHrirSofa && endsWithSofa(name);
    const bool wantsProfile = mode == kHrirProfile && name.rfind(kProfilePrefix, 0) == 0;
    IHrir<T>* existing = find(mode, order, name);

    if (existing != nullptr && !wantsProfile && !(forceReload && wantsFile)) {
        current = existing;
        current->setSampleRate(rate);
        return 1;
    }
    if (wantsFile || wantsProfile) {
        std::shared_ptr<IHrir<T>> made = wantsFile ? factory.makeFromSofa(name, order)
                                                   : factory.makeFromProfile(name, order, listenerData);
        if (made != nullptr) {
            if (existing != nullptr) remove(existing);
            current = made.get();
            hrirs.push_back(std::move(made));
            current->setSampleRate(rate);
            return 1;
        }
    }
    // A request that can't be met falls back silently to the standard set of
    // the order; the caller sees it in the current set's mode.
    current = find(kHrirStandard, order, "");
    if (current != nullptr) current->setSampleRate(rate);
    return 0;
}

template class HrirBank<float>;
template class HrirBank<double>;

} // namespace Tannhofen::AmbiBin
