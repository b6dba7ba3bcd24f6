#include "dsp/tool/filter/iir_filter.h"

namespace Tannhofen::DSP::Tool::Filter {

template class IIRFilterCore<float, 6, 2, true>;
template class IIRFilterCore<double, 6, 2, true>;
template class IIRFilterCore<float, 48, 16, true>;
template class IIRFilterCore<double, 48, 16, true>;
template class IIRFilterCore<float, 6, 2, false>;
template class IIRFilterCore<double, 6, 2, false>;

} // namespace Tannhofen::DSP::Tool::Filter
