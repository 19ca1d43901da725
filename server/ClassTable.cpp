#include "server/ClassTable.h"

#include "classify/BaseStatistics.h"
#include "classify/EqualInterval.h"
#include "classify/NaturalBreaks.h"
#include "classify/RuleClassifiers.h"
#include "classify/StandardDeviation.h"
#include "containers/PropertySet.h"
#include "containers/PropertySetArrays.h"
#include "containers/PropertySetProperty.h"
#include "containers/StrArray.h"
#include "containers/UID.h"
#include "formats/NumericFormat.h"
#include "json/JSONArray.h"
#include "json/JSONConverter.h"
#include "json/JSONObject.h"
#include "json/JSONReader.h"
#include "json/JSONWriter.h"
#include "server/ClassFactory.h"
#include "server/MOVAExtendedErrorInfo.h"
#include "services/MessageLogger.h"
#include "streams/BufferedFileStream.h"
#include "streams/ByteSwapStreamIO.h"
#include "streams/CombinedStream.h"
#include "streams/CompressedFileStream.h"
#include "streams/FileStream.h"
#include "streams/MemoryBlobStream.h"
#include "streams/ObjectCopy.h"
#include "streams/ObjectStream.h"
#include "streams/UnbufferedFileStream.h"
#include "streams/VariantStreamIO.h"
#include "time/Time.h"
#include "time/TimeDuration.h"
#include "xml/XMLAttributes.h"
#include "xml/XMLFlags.h"
#include "xml/XMLNamespaces.h"
#include "xml/XMLPersistedObject.h"
#include "xml/XMLReader.h"
#include "xml/XMLSerializer.h"
#include "xml/XMLSerializerAlt.h"
#include "xml/XMLStream.h"
#include "xml/XMLTextReader.h"
#include "xml/XMLTypeMapper.h"
#include "xml/XMLWriter.h"
#include "xml/XmlNamespaceUtils.h"

namespace mova {
namespace {

/// A row for a class of which every request makes a new object.
template <class Class>
constexpr ClassEntry NewObject(const char16_t* name) noexcept {
    return {.classId = &Class::classId, .name = name, .factory = &plainFactory<Class>};
}

/// A row for a class of which each thread has one object.
template <class Class>
constexpr ClassEntry ThreadSingleton(const char16_t* name) noexcept {
    return {.classId = &Class::classId, .name = name, .factory = &singletonFactory<Class>, .singleton = 1};
}

/// The methods that divide numbers into classes.
constexpr CATID classificationCategory{0xF5B68AD5, 0xEB4E, 0x11D1, {0xAA, 0xB9, 0x00, 0xC0, 0x4F, 0xA3, 0x34, 0xB3}};

/// A row for such a method.
template <class Class>
constexpr ClassEntry Classifier(const char16_t* name) noexcept {
    ClassEntry entry = NewObject<Class>(name);
    entry.categories[0] = &classificationCategory;
    return entry;
}

}  // namespace

constinit const ClassEntry classTable[] = {
    NewObject<CompressedFileStream>(u"CompressedFileStream"),
    Classifier<Quantile>(u"Quantile"),
    Classifier<DefinedInterval>(u"DefinedInterval"),
    Classifier<StandardDeviation>(u"StandardDeviation"),
    Classifier<GeometricalInterval>(u"GeometricalInterval"),
    NewObject<PropertySet>(u"PropertySet"),
    NewObject<ObjectStream>(u"ObjectStream"),
    NewObject<UID>(u"UID"),
    NewObject<BaseStatistics>(u"BaseStatistics"),
    NewObject<NumericFormat>(u"NumericFormat"),
    NewObject<FileStream>(u"FileStream"),
    NewObject<BufferedFileStream>(u"BufferedFileStream"),
    NewObject<UnbufferedFileStream>(u"UnbufferedFileStream"),
    NewObject<MemoryBlobStream>(u"MemoryBlobStream"),
    NewObject<ByteSwapStreamIO>(u"ByteSwapStreamIO"),
    NewObject<VariantStreamIO>(u"VariantStreamIO"),
    NewObject<MOVAExtendedErrorInfo>(u"MOVAExtendedErrorInfo"),
    NewObject<StrArray>(u"StrArray"),
    NewObject<PropertySetProperty>(u"PropertySetProperty"),
    NewObject<PropertySetPropertyArray>(u"PropertySetPropertyArray"),
    NewObject<PropertySetArray>(u"PropertySetArray"),
    NewObject<ObjectCopy>(u"ObjectCopy"),
    NewObject<XMLPersistedObject>(u"XMLPersistedObject"),
    ThreadSingleton<MessageLogger>(u"MessageLogger"),
    NewObject<XmlNamespaceUtils>(u"XmlNamespaceUtils"),
    NewObject<Time>(u"Time"),
    NewObject<TimeDuration>(u"TimeDuration"),
    Classifier<NaturalBreaks>(u"NaturalBreaks"),
    Classifier<EqualInterval>(u"EqualInterval"),
    NewObject<XMLStream>(u"XMLStream"),
    NewObject<XMLReader>(u"XMLReader"),
    NewObject<XMLTextReader>(u"XMLTextReader"),
    NewObject<XMLAttributes>(u"XMLAttributes"),
    NewObject<XMLNamespaces>(u"XMLNamespaces"),
    ThreadSingleton<XMLTypeMapper>(u"XMLTypeMapper"),
    NewObject<XMLSerializer>(u"XMLSerializer"),
    NewObject<XMLSerializerAlt>(u"XMLSerializerAlt"),
    NewObject<XMLWriter>(u"XMLWriter"),
    NewObject<XMLFlags>(u"XMLFlags"),
    NewObject<JSONWriter>(u"JSONWriter"),
    NewObject<JSONReader>(u"JSONReader"),
    NewObject<JSONArray>(u"JSONArray"),
    NewObject<JSONObject>(u"JSONObject"),
    NewObject<JSONConverter>(u"JSONConverter"),
    NewObject<CombinedStream>(u"CombinedStream"),
    {},
};

}  // namespace mova
