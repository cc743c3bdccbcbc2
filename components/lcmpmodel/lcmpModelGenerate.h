// C++ for cards: source that builds the objects of a model without the model, its file, or this library.
#pragma once

#include <string>

#include "lcmpExport.h"
#include "lcmpModel.h"

/// What goes into the two files.
struct LcmpModelCode {
    std::string header;  ///< NAME.h.
    std::string source;  ///< NAME.cpp, which includes it.
};

/// Whether the text can be the name of a namespace and of files: letters, digits and _, the first no digit,
/// and no keyword of C++.
LCMP_API bool lcmpModelIsIdentifier(const std::string& text);

/// Code that declares `std::vector<std::unique_ptr<LcmpObject>> NAME::makeObjects()`, a constant for every
/// OID, and needs liblcmp and lcmpModelProperties.h alone. `name` is an identifier, and names the namespace
/// and the header, NAME.h.
LCMP_API LcmpModelCode lcmpModelGenerate(const LcmpModel& model, const std::string& name);
