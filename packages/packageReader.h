// Building the catalogue: from the package registry, which says what is installed and where, and
// from the descriptor that each package carries.
#pragma once

#include "packages/packageRecord.h"

namespace packages {

/// Reads the registry and the descriptors of its desktop packages, and returns their records in
/// registry order. A section of another class, or one whose descriptor is missing or cannot be
/// parsed, gives no record; an unreadable registry gives an empty list and the configuration
/// parser's line on standard error. Runs the registry tool three times a package, side by side, and
/// waits for it. Throws std::bad_alloc when memory is lacking.
PackageListPtr readPackages();

}  // namespace packages
