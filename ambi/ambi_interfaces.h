// The interfaces by which the decoder's processor reaches what only one of its
// algorithms offers: IAmbiBin (the binaural algorithm's HRIR selection) and
// IAmbiSpeakerAlgo (the speaker algorithm's LFE settings). The processor asks
// for them with queryInterface on the algorithm's FObject base.
#pragma once

#include "frame/fobject.h"
#include "frame/funknown.h"

namespace Tannhofen::AmbiBin {

class IFactoryListener; // told the status of a personal HRTF profile; declared with the HRIR store

class IAmbiBin : public Plx::FUnknown {
public:
    // Selects the HRIR set: mode (1 standard, 2 YouTube, 3 SOFA, 4 Facebook,
    // 5 personal profile), the rate to resample to, the ambisonic order, the
    // SOFA file or profile name, the listener for profile status, and whether
    // to load again what is already loaded. 1 when the request was met, 0
    // when the standard set was taken instead.
    virtual Plx::int32 setHrir(Plx::int32 mode, float sampleRate, Plx::int32 order, const Plx::char16* name,
                               IFactoryListener* listenerData, bool forceReload) = 0;
    // The mode of the set in force, 0 if there is none.
    virtual Plx::int32 getHrirMode() = 0;

    PLX_INTERFACE_ID(0x1F557355, 0xFE493C92, 0xDCA32299, 0x86781301);

protected:
    ~IAmbiBin() = default;
};

class IAmbiSpeakerAlgo : public Plx::FUnknown {
public:
    virtual void setLfeGain(double gain) = 0;
    virtual void setLfeLowPass(bool on) = 0;

    PLX_INTERFACE_ID(0x6B3E9A14, 0x2C7D4F51, 0x9A08E3B6, 0x54C1D27F);

protected:
    ~IAmbiSpeakerAlgo() = default;
};

// Gives interface I the three operations of FUnknown for an algorithm class
// Owner that derives from AmbiAlgo and from FObjectInterface<I, Owner>. The
// algorithm frame and the reference count both name an operation `release`,
// with different results, so such a class can declare neither: the interface's
// side is answered here, by the object's FObject base.
template <class I, class Owner>
class FObjectInterface : public I {
public:
    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override {
        return unknown().queryInterface(iid, obj);
    }
    Plx::uint32 addRef() override { return unknown().addRef(); }
    Plx::uint32 release() override { return unknown().release(); }

protected:
    ~FObjectInterface() = default;

private:
    Plx::FObject& unknown() { return static_cast<Plx::FObject&>(static_cast<Owner&>(*this)); }
};

} // namespace Tannhofen::AmbiBin
