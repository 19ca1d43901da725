// How the client classifies.
#pragma once

#include <movaSystem.h>

#include <optional>
#include <string>

#include "tools/mova/ClassPlot.h"
#include "tools/mova/Client.h"

namespace mova::tool {

/// What a run is asked for; what is not given is left to the library, but for the mean and the standard deviation,
/// which are those of the data then.
struct ClassifyOptions {
    std::string method;
    LONG classes = 0;
    std::optional<double> minimum, maximum, mean, deviation, interval;
    bool isUnlimited = false, isOnBreak = false;
};

/// What came of a run.
struct Classified {
    ClassifiedData data;
    std::string methodName;
    LONG classes = 0;
    HRESULT status = S_OK;
};

/// The names of the methods that the client knows.
std::string MethodNames();
/// Makes the histogram of values with frequencies and divides it. @throw WrongUsage, Refused
Classified Classify(const ClassifyOptions& options, const ClassifiedData& raw);

}  // namespace mova::tool
