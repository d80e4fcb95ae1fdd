// The part of the camera platform's interface that is the same in every implementation of it:
// texts, exceptions, the interfaces' type information and the node-map reference. Each
// implementation links it in, so that one library of the process holds it.

#include <algorithm>

#include "GenApi/GenApi.h"

namespace GenICam_3_0 {

gcstring::gcstring() = default;
gcstring::gcstring(const char *text) : text_(text ? text : "") {}
gcstring::gcstring(const gcstring &other) = default;
gcstring::~gcstring() = default;

gcstring &gcstring::operator=(const gcstring &other) = default;

gcstring &gcstring::operator=(const char *text) {
    text_ = text ? text : "";
    return *this;
}

gcstring &gcstring::operator+=(const gcstring &other) {
    text_ += other.text_;
    return *this;
}

gcstring &gcstring::operator+=(const char *text) {
    text_ += text ? text : "";
    return *this;
}

const char *gcstring::c_str() const {
    return text_.c_str();
}
gcstring::operator const char *() const {
    return text_.c_str();
}
size_t gcstring::length() const {
    return text_.length();
}
bool gcstring::empty() const {
    return text_.empty();
}

bool gcstring::operator==(const gcstring &other) const {
    return text_ == other.text_;
}
bool gcstring::operator==(const char *text) const {
    return text_ == (text ? text : "");
}
bool gcstring::operator!=(const gcstring &other) const {
    return !(*this == other);
}
bool gcstring::operator!=(const char *text) const {
    return !(*this == text);
}
bool gcstring::operator<(const gcstring &other) const {
    return text_ < other.text_;
}

namespace {

std::string orEmpty(const char *text) {
    return text ? text : "";
}

// A description's words are in it, and it goes to logs: with a '?' for what would act there.
std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

} // namespace

GenericException::GenericException(const char *description, const char *sourceFileName,
                                   unsigned int sourceLine, const char *exceptionType)
    : description_(printable(orEmpty(description))),
      sourceFileName_(orEmpty(sourceFileName)),
      sourceLine_(sourceLine),
      what_(description_ + " : " + orEmpty(exceptionType) + " thrown (file '" + sourceFileName_ +
            "', line " + std::to_string(sourceLine) + ")") {}

GenericException::GenericException(const GenericException &other) = default;
GenericException &GenericException::operator=(const GenericException &other) = default;
GenericException::~GenericException() noexcept = default;

const char *GenericException::GetDescription() const noexcept {
    return description_.c_str();
}
const char *GenericException::GetSourceFileName() const noexcept {
    return sourceFileName_.c_str();
}
unsigned int GenericException::GetSourceLine() const noexcept {
    return sourceLine_;
}
const char *GenericException::what() const noexcept {
    return what_.c_str();
}

#define KX_DEFINE_GENICAM_EXCEPTION(name)                                                          \
    name::name(const char *description, const char *sourceFileName, unsigned int sourceLine,       \
               const char *exceptionType)                                                          \
        : GenericException(description, sourceFileName, sourceLine, exceptionType) {}              \
    name::name(const name &other) = default;                                                       \
    name &name::operator=(const name &other) = default;                                            \
    name::~name() noexcept = default;

KX_DEFINE_GENICAM_EXCEPTION(BadAllocException)
KX_DEFINE_GENICAM_EXCEPTION(InvalidArgumentException)
KX_DEFINE_GENICAM_EXCEPTION(OutOfRangeException)
KX_DEFINE_GENICAM_EXCEPTION(PropertyException)
KX_DEFINE_GENICAM_EXCEPTION(RuntimeException)
KX_DEFINE_GENICAM_EXCEPTION(LogicalErrorException)
KX_DEFINE_GENICAM_EXCEPTION(AccessException)
KX_DEFINE_GENICAM_EXCEPTION(TimeoutException)
KX_DEFINE_GENICAM_EXCEPTION(DynamicCastException)

} // namespace GenICam_3_0

namespace GenApi_3_0 {

IBase::~IBase() = default;
INode::~INode() = default;
IValue::~IValue() = default;
IInteger::~IInteger() = default;
IFloat::~IFloat() = default;
IBoolean::~IBoolean() = default;
IEnumEntry::~IEnumEntry() = default;
IEnumeration::~IEnumeration() = default;
ICategory::~ICategory() = default;
ISelector::~ISelector() = default;
INodeMap::~INodeMap() = default;

CNodeMapRef::CNodeMapRef(INodeMap *map) : map_(map) {}
CNodeMapRef::~CNodeMapRef() = default;

INode *CNodeMapRef::_GetNode(const gcstring &Name) const {
    if (!map_)
        throw GenICam_3_0::ExceptionReporter<GenICam_3_0::AccessException>(__FILE__, __LINE__,
                                                                           "AccessException")
            .Report("Feature not present (reference not valid)");
    return map_->GetNode(Name);
}

} // namespace GenApi_3_0
