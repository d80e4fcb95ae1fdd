/** What a GenICam description may consist of: the schema's elements. */
#ifndef KXINFO_GENAPI_SCHEMA_H
#define KXINFO_GENAPI_SCHEMA_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace genapi {

/** What a property says, and what a reference to another node means. */
enum Meaning : uint16_t {
    kText = 0,
    kInteger = 1,  /**< a whole number */
    kFloat = 2,    /**< a number */
    kNumber = 3,   /**< a number of the node's own kind */
    kContent = 3,  /**< (mask of those) */
    kRefers = 4,   /**< names another node */
    kNeeds = 8,    /**< the node cannot be evaluated before the other: counts for circles */
    kFollows = 16, /**< has to be asked again when the other was written */
    kPart = 32,    /**< is not there when the other is not */
    kAnyKind = 64, /**< the other may be of any kind; otherwise it has a number */
    kValue = kRefers | kNeeds | kFollows,
    kPartial = kValue | kPart,
    kMentions = kRefers | kAnyKind,
};

// clang-format off
/**
 * Elements that describe nodes, whether these have a number, and their properties in their order:
 * `a|b` are alternatives, `*` any number, `+` at least one, `!` exactly one, and `~` wherever it
 * likes: descriptions differ there, and nothing is lost. Elements without any are of another kind
 * of camera, or of none.
 */
#define KXGENAPI_ELEMENTS(X)                                                                       \
    X(Node, kText, "")                                                                             \
    X(Category, kText, KXGENAPI_ANY "pFeature*")                                                   \
    X(Integer, kInteger, KXGENAPI_ANY "~pValueCopy* " KXGENAPI_FEATURE)                            \
    X(IntReg, kInteger, KXGENAPI_REGISTER "~Sign Endianess! " KXGENAPI_SHOWN)                      \
    X(MaskedIntReg, kInteger, KXGENAPI_REGISTER KXGENAPI_FIELD "Endianess! " KXGENAPI_SHOWN)       \
    X(StructReg, kText, KXGENAPI_REGISTER "Endianess! StructEntry+")                               \
    X(StructEntry, kInteger,                                                                       \
      KXGENAPI_ANY "~AccessMode ~Cachable " KXGENAPI_FIELD KXGENAPI_SHOWN)            \
    X(Boolean, kInteger, KXGENAPI_ANY "Value|pValue! OnValue OffValue")                \
    X(Command, kText, KXGENAPI_ANY "Value|pValue! CommandValue|pCommandValue")        \
    X(Float, kFloat, KXGENAPI_ANY KXGENAPI_FEATURE)                                                \
    X(FloatReg, kFloat, KXGENAPI_REGISTER "Endianess! " KXGENAPI_SHOWN)                            \
    X(Enumeration, kInteger, KXGENAPI_ANY "EnumEntry+ Value|pValue!")     \
    X(EnumEntry, kText, KXGENAPI_ANY "Value! ~NumericValue* ~Symbolic ~IsSelfClearing")            \
    X(String, kText, KXGENAPI_ANY "Value|pValue!")                                                 \
    X(StringReg, kText, KXGENAPI_REGISTER)                                                         \
    X(Register, kText, KXGENAPI_REGISTER)                                                          \
    X(Converter, kFloat, KXGENAPI_CONVERTER)                                                       \
    X(IntConverter, kInteger, KXGENAPI_CONVERTER)                                                  \
    X(SwissKnife, kFloat, KXGENAPI_COMPUTED "Formula! " KXGENAPI_SHOWN)                            \
    X(IntSwissKnife, kInteger, KXGENAPI_COMPUTED "Formula! " KXGENAPI_SHOWN)                       \
    X(Port, kText, KXGENAPI_ANY "~ChunkID|pChunkID ~SwapEndianess ~CacheChunkData")                \
    X(ConfRom, kText, "") X(TextDesc, kText, "") X(IntKey, kText, "")                              \
    X(AdvFeatureLock, kText, "") X(SmartFeature, kText, "") X(DcamLock, kText, "")

#define KXGENAPI_ANY                                                                               \
    "~Extension* ToolTip Description DisplayName Visibility ~DocuURL ~IsDeprecated ~EventID "        \
    "pIsImplemented pIsAvailable pIsLocked ~pBlockPolling ImposedAccessMode ~pError* ~pAlias "     \
    "~pCastAlias ~pInvalidator* ~Streamable ~pSelected* ~PollingTime "
#define KXGENAPI_FEATURE                                                                           \
    "Value|pValue|pIndex! ValueIndexed|pValueIndexed* ValueDefault|pValueDefault Min|pMin "        \
    "Max|pMax Inc|pInc ~ValidValueSet " KXGENAPI_SHOWN
#define KXGENAPI_REGISTER                                                                          \
    KXGENAPI_ANY "Address|pAddress|pIndex|IntSwissKnife|Offset|pOffset+ Length|pLength! "          \
                 "AccessMode! pPort! ~Cachable "
#define KXGENAPI_FIELD "Bit|LSB! MSB ~Sign "
#define KXGENAPI_SHOWN "~Unit ~Representation ~DisplayNotation ~DisplayPrecision "
#define KXGENAPI_COMPUTED KXGENAPI_ANY "pVariable* ~Constant* ~Expression* "
#define KXGENAPI_CONVERTER                                                                         \
    KXGENAPI_COMPUTED "FormulaTo! FormulaFrom! pValue! " KXGENAPI_SHOWN "~Slope ~IsLinear"

/**
 * Elements inside them, and what these may say, separated by bars, where that is not anything.
 * Offset and pOffset are attributes of a pIndex.
 */
#define KXGENAPI_PROPERTIES(X)                                                                     \
    X(Extension, kText) X(ToolTip, kText) X(Description, kText) X(DisplayName, kText)              \
    X(Visibility, kText, "Beginner|Expert|Guru|Invisible") X(DocuURL, kText)                       \
    X(IsDeprecated, kText) X(EventID, kText) X(pIsImplemented, kValue) X(pIsAvailable, kValue)     \
    X(pIsLocked, kValue) X(pBlockPolling, kMentions) X(ImposedAccessMode, kText, "RO|WO|RW|NA|NI") \
    X(pError, kMentions) X(pAlias, kMentions) X(pCastAlias, kMentions)                             \
    X(pInvalidator, kMentions | kFollows) X(Streamable, kText) X(Value, kNumber) X(pValue, kValue) \
    X(pValueCopy, kValue) X(ValueIndexed, kNumber) X(pValueIndexed, kValue)                        \
    X(ValueDefault, kNumber) X(pValueDefault, kValue) X(Min, kNumber) X(pMin, kPartial)            \
    X(Max, kNumber) X(pMax, kPartial) X(Inc, kNumber) X(pInc, kPartial) X(ValidValueSet, kText)    \
    X(Unit, kText)                                                                                 \
    X(Representation, kText,                                                                       \
      "Linear|Logarithmic|Boolean|PureNumber|HexNumber|IPV4Address|MACAddress")                    \
    X(DisplayNotation, kText, "Automatic|Fixed|Scientific") X(DisplayPrecision, kInteger)          \
    X(pSelected, kMentions) X(Address, kInteger) X(pAddress, kPartial) X(pIndex, kPartial)         \
    X(IntSwissKnife, kNeeds | kFollows | kPart) X(Length, kInteger) X(pLength, kPartial)           \
    X(AccessMode, kText, "RO|WO|RW") X(pPort, kMentions)                                           \
    X(Cachable, kText, "NoCache|WriteThrough|WriteAround") X(PollingTime, kInteger)                \
    X(LSB, kInteger) X(MSB, kInteger) X(Bit, kInteger) X(Sign, kText, "Signed|Unsigned")           \
    X(Endianess, kText, "LittleEndian|BigEndian") X(StructEntry, kText) X(pVariable, kPartial)     \
    X(Constant, kNumber) X(Expression, kText) X(Formula, kText) X(FormulaTo, kText)                \
    X(FormulaFrom, kText) X(Slope, kText, "Increasing|Decreasing|Varying|Automatic")               \
    X(IsLinear, kText, "Yes|No") X(CommandValue, kInteger) X(pCommandValue, kRefers | kFollows)    \
    X(OnValue, kInteger) X(OffValue, kInteger) X(EnumEntry, kText) X(NumericValue, kFloat)         \
    X(Symbolic, kText) X(IsSelfClearing, kText) X(pFeature, kMentions | kNeeds) X(ChunkID, kText)  \
    X(pChunkID, kMentions) X(SwapEndianess, kText) X(CacheChunkData, kText) X(Offset, kInteger)    \
    X(pOffset, kPartial)
// clang-format on

#define KXGENAPI_MEMBER(name, ...) name,
enum class Element : uint8_t { KXGENAPI_ELEMENTS(KXGENAPI_MEMBER) Count };
enum class Property : uint8_t { KXGENAPI_PROPERTIES(KXGENAPI_MEMBER) Count };
#undef KXGENAPI_MEMBER

constexpr size_t kProperties = static_cast<size_t>(Property::Count);

std::optional<Element> elementOf(std::string_view name);
std::optional<Property> propertyOf(std::string_view name);

/** What the tables above say of one of them. */
struct Row {
    const char *name;
    unsigned meaning; /**< of elements kInteger, kFloat, or kText: no number */
    const char *says =
        nullptr; /**< an element's properties, a property's choices; null: anything */
};
const Row &rowOf(Element element);
const Row &rowOf(Property property);

/** Where a property may stand in an element, and how often. */
struct Rule {
    uint8_t slot = 0;     /**< alternatives share one; 0: not at all */
    uint8_t rank = 0;     /**< of those with a rank none stands before one of a lower rank */
    bool several = false; /**< any number */
};

/** The properties of one element. */
struct Schema {
    bool isChecked = false; /**< false: whatever stands in it is passed over */
    std::array<Rule, kProperties> rules;
    struct Need {
        uint8_t slot;
        std::string names; /**< such as "Value|pValue" */
    };
    std::vector<Need> needs;

    const Rule &operator[](Property property) const { return rules[static_cast<size_t>(property)]; }
};

const Schema &schemaOf(Element element);

} // namespace genapi

#endif
