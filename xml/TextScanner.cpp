#include "xml/TextScanner.h"

#include <algorithm>
#include <string>
#include <xercesc/framework/XMLErrorCodes.hpp>

namespace xml {
namespace {

using xercesc::XMLErrs;

bool IsLeading(char16_t c) noexcept {
    return (c & 0xFC00) == 0xD800;
}

bool IsTrailing(char16_t c) noexcept {
    return (c & 0xFC00) == 0xDC00;
}

}  // namespace

void TextScanner::TakeReference() {
    char16_t first = 0;
    char16_t second = 0;
    bool isEscaped = false;
    if ((this->*(&Protected::scanEntityRef))(false, first, second, isEscaped) != EntityExp_Returned) return;
    text_.append(first);
    if (second) text_.append(second);
}

void TextScanner::RefuseCharacter(char16_t character) {
    constexpr std::u16string_view digits = u"0123456789ABCDEF";
    std::u16string number;
    for (int shift = 12; shift >= 0; shift -= 4) number += digits[(character >> shift) & 0xF];
    emitError(XMLErrs::InvalidCharacter, number.c_str());
    throw StopParsing();
}

void TextScanner::scanCharData(xercesc::XMLBuffer&) {
    bool isInPair = false;
    for (char16_t c = 0;;) {
        if (brackets_ == 0 && !isInPair) fReaderMgr.movePlainContentChars(text_);
        if (text_.getLen() >= PullParser::maxText && !isInPair) break;  // the rest comes as a text of its own
        if (!fReaderMgr.getNextCharIfNot(xercesc::chOpenAngle, c)) {
            brackets_ = 0;
            break;
        }
        if (isInPair != IsTrailing(c))
            emitError(isInPair ? XMLErrs::Expected2ndSurrogateChar : XMLErrs::Unexpected2ndSurrogateChar);
        isInPair = IsLeading(c);
        if (c == u'&') {
            brackets_ = 0;
            TakeReference();
            continue;
        }
        if (!IsLeading(c) && !IsTrailing(c) && !fReaderMgr.getCurrentReader()->isXMLChar(c)) RefuseCharacter(c);
        if (c == u'>' && brackets_ == 2) emitError(XMLErrs::BadSequenceInCharData);
        brackets_ = c == u']' ? std::min(brackets_ + 1, 2U) : 0;
        text_.append(c);
    }
    if (isInPair) emitError(XMLErrs::Expected2ndSurrogateChar);
    textEnd_ = Here();
}

}  // namespace xml
