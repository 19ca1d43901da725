// The jobs that `engine-bench` knows. Each prints its lines through the session.
#pragma once

#include "bench/Bench.h"

namespace bench {

/// Loading documents, and their tokens. @throw std::runtime_error where the engine does not do what is measured
void RunEngineJson(const Session& session);

/// Numbers to display text. @throw std::runtime_error as above
void RunEngineNumber(const Session& session);

/// Writing documents, and reading them. @throw std::runtime_error as above
void RunEngineXml(const Session& session);

}  // namespace bench
