// The module's class table: three processors and their controllers, in the
// order a host lists them.
#pragma once

#include <span>

#include "frame/factory.h"

namespace Tannhofen::Plx {

std::span<const ClassTableRow> moduleClassTable();

} // namespace Tannhofen::Plx
