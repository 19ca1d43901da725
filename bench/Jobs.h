// The jobs that `bench` knows. Each prints its lines through the session.
#pragma once

#include "bench/Bench.h"

namespace bench {

/// Classes of numbers, and statistics. @throw std::runtime_error where the library does not do what is measured
void RunClassify(const Session& session);

/// What a class costs before it does anything: finding and making objects, their interfaces, refusals, threads.
/// @throw std::runtime_error where the library does not do what is measured
void RunFrame(const Session& session);

/// JSON: reading and writing by token, documents in memory. @throw std::runtime_error as above
void RunJson(const Session& session);

/// Numbers to display text and back. @throw std::runtime_error as above
void RunNumber(const Session& session);

/// Object graphs, copies, and streams in memory. @throw std::runtime_error as above
void RunPersist(const Session& session);

/// Time and memory of the property set. @throw std::runtime_error as above
void RunPropset(const Session& session);

/// Times: read, written, and by day number. @throw std::runtime_error as above
void RunTime(const Session& session);

/// XML: documents written and read, and object graphs in it. @throw std::runtime_error as above
void RunXml(const Session& session);
void RunXmlReading(const Session& session);
void RunXmlGraphs(const Session& session);

}  // namespace bench
