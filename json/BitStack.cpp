#include "json/BitStack.h"

namespace json {

void BitStack::Spill() {
    beneath_.push_back(top_);
}

void BitStack::Refill() noexcept {
    top_ = beneath_.back();
    beneath_.pop_back();
}

}  // namespace json
