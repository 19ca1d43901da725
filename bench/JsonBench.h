// What the parts of the job "json" share.
#pragma once

#include "bench/JsonData.h"
#include "kvcore/BString.h"

namespace bench {

class Session;

/// A text in the forms that contestants take.
struct JsonSubject {
    /// @throw std::bad_alloc
    explicit JsonSubject(JsonText made);

    double KiB() const { return static_cast<double>(text.utf8.size()) / 1024; }
    std::string Job(const char* what) const;

    JsonText text;
    kv::BString wide;
    std::uint64_t digest;
};

/// Loading and writing whole documents. @throw std::runtime_error where a result is wrong
void CompareJsonDocuments(const Session& session, const JsonSubject& subject);

/// Reading token by token. @throw std::runtime_error as above
void CompareJsonReading(const Session& session, const JsonSubject& subject);

/// Writing token by token. @throw std::runtime_error as above
void CompareJsonWriting(const Session& session, const JsonSubject& subject);

}  // namespace bench
