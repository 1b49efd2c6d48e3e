// Typed attributes: initial bounds, copies, visitor dispatch, type casts,
// text forms.
#include "common/src/AttributeKinds.h"
#include "common/src/AttributeXml.h"
#include "common/src/ka.common.xml.io.h"

#include <gtest/gtest.h>

#include <boost/pointer_cast.hpp>

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace quorl;

// Decimal text of a bound, independent of the kinds' own text forms.
template <class T>
std::string plain(T v) {
    char buf[64];
    if (std::is_same<T, float>::value)
        std::snprintf(buf, sizeof buf, "%.9g", static_cast<double>(v));
    else if (std::is_floating_point<T>::value)
        std::snprintf(buf, sizeof buf, "%.17g", static_cast<double>(v));
    else if (std::is_signed<T>::value)
        std::snprintf(buf, sizeof buf, "%" PRId64, static_cast<int64_t>(v));
    else
        std::snprintf(buf, sizeof buf, "%" PRIu64, static_cast<uint64_t>(v));
    return buf;
}

// ---- Initial values ----------------------------------------------------------

struct BoundsRow {
    AttributeKind kind;
    const char* min;
    const char* max;
};

// The unranged bounds are sentinels the writer compares against; three of
// them look wrong on purpose (UInt64/Addr64 max, float/double min).
const BoundsRow kBounds[] = {
    {AttributeKind::Int32, "-2147483648", "2147483647"},
    {AttributeKind::UInt32, "0", "4294967295"},
    {AttributeKind::Int64, "-9223372036854775808", "9223372036854775807"},
    {AttributeKind::UInt64, "0", "9223372036854775807"},
    {AttributeKind::Addr32, "0", "4294967295"},
    {AttributeKind::Addr64, "0", "9223372036854775807"},
    {AttributeKind::Float, "1.17549435e-38", "3.40282347e+38"},
    {AttributeKind::Double, "2.2250738585072014e-308", "1.7976931348623157e+308"},
};

TEST(AttributeInitialValues, RangedKindsStartAtTheirSentinels) {
    for (const BoundsRow& row : kBounds) {
        withAttributeKind(static_cast<int>(row.kind), [&](auto tag) {
            constexpr AttributeKind K = decltype(tag)::value;
            if constexpr (AttributeKindTraits<K>::shape == AttributeShape::Integer ||
                          AttributeKindTraits<K>::shape == AttributeShape::Real) {
                AttributeXml<K> a("x");
                SCOPED_TRACE(AttributeKindTraits<K>::elementName);
                EXPECT_EQ(plain(a.getMinValue()), row.min);
                EXPECT_EQ(plain(a.getMaxValue()), row.max);
                EXPECT_EQ(a.getValue(), 0);
                EXPECT_FALSE(a.isReadOnly());
                if constexpr (AttributeKindTraits<K>::shape == AttributeShape::Real) {
                    EXPECT_TRUE(a.isMinInclusive());
                    EXPECT_TRUE(a.isMaxInclusive());
                }
            } else {
                ADD_FAILURE() << "row names an unranged kind";
            }
        });
    }
}

TEST(AttributeInitialValues, UnrangedKinds) {
    StringAttributeXml s("s");
    EXPECT_EQ(s.getValue(), "");
    BoolAttributeXml b("b");
    EXPECT_FALSE(b.getValue());
    EXPECT_EQ(b.getValueDescription(), "");
    EnumAttributeXml e("e");
    EXPECT_FALSE(e.isAllowMultiple());
    EXPECT_TRUE(e.getValues()->empty());
    EXPECT_TRUE(e.getEnumValues()->empty());
}

TEST(AttributeValues, SettersStoreWhatTheyAreGiven) {
    // Neither the range, the read-only flag nor the allowed values stop a set.
    auto port = makeUInt32Attribute("ServerPort", 5000, /*readOnly=*/true);
    port->setMinValue(1);
    port->setMaxValue(65535);
    port->setValue(70000);
    EXPECT_EQ(port->getValue(), 70000u);
    EXPECT_TRUE(port->isReadOnly());

    auto method = makeEnumAttribute("Target Access Method", "Logger", "LTA,Logger,GTA");
    method->setValues("Nonsense");
    EXPECT_EQ(method->getValues()->snapshot(), std::vector<std::string>{"Nonsense"});
}

// ---- Copies ------------------------------------------------------------------

// Two different values of each kind.
template <AttributeKind K>
typename AttributeKindTraits<K>::value_type sample(int which) {
    constexpr AttributeShape S = AttributeKindTraits<K>::shape;
    if constexpr (S == AttributeShape::Text)
        return which ? "second" : "first";
    else if constexpr (S == AttributeShape::Flag)
        return which != 0;
    else if constexpr (S == AttributeShape::Enum)
        return which ? std::vector<std::string>{"b", "c"} : std::vector<std::string>{"a"};
    else if constexpr (S == AttributeShape::Real)
        return which ? 2.5 : 1.5;
    else
        return which ? 7 : 3;
}

TEST(AttributeCopies, CloneSharesNothingWithItsSource) {
    forEachAttributeKind([](auto tag) {
        constexpr AttributeKind K = decltype(tag)::value;
        SCOPED_TRACE(AttributeKindTraits<K>::elementName);
        auto source = boost::make_shared<AttributeXml<K>>("Name", "Board.Block");
        source->assignValue(sample<K>(0));
        source->setReadOnly(true);

        ConfigAttributePtr copy = source->clone();
        auto typed = boost::dynamic_pointer_cast<AttributeXml<K>>(copy);
        ASSERT_TRUE(typed);
        EXPECT_NE(typed.get(), source.get());
        EXPECT_EQ(typed->getQualifiedName(), "Board.Block.Name");
        EXPECT_TRUE(typed->isReadOnly());
        EXPECT_EQ(typed->currentValue(), sample<K>(0));

        typed->assignValue(sample<K>(1));
        typed->setReadOnly(false);
        typed->setQualifiedName("Other.Name");
        EXPECT_EQ(source->currentValue(), sample<K>(0));
        EXPECT_TRUE(source->isReadOnly());
        EXPECT_EQ(source->getQualifiedName(), "Board.Block.Name");
    });
}

TEST(AttributeCopies, CopyThroughTheInterfaceTakesEveryField) {
    auto f = makeFloatAttribute("Rate", 0.5f);
    f->setMinValue(-1.0f);
    f->setMinInclusive(false);
    f->setMaxValue(8.0f);
    f->setMaxInclusive(false);
    const FloatAttribute& asInterface = *f;
    FloatAttributeXml copy(asInterface);
    EXPECT_EQ(copy.getValue(), 0.5f);
    EXPECT_EQ(copy.getMinValue(), -1.0f);
    EXPECT_FALSE(copy.isMinInclusive());
    EXPECT_EQ(copy.getMaxValue(), 8.0f);
    EXPECT_FALSE(copy.isMaxInclusive());

    auto e = makeEnumAttribute("Mode", "a;b", "a,b,c", /*allowMultiple=*/true, /*readOnly=*/true);
    EnumAttributeXml enumCopy(static_cast<const EnumAttribute&>(*e));
    EXPECT_EQ(enumCopy.getValues()->snapshot(), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(enumCopy.getEnumValues()->snapshot(), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_TRUE(enumCopy.isAllowMultiple());
    EXPECT_TRUE(enumCopy.isReadOnly());
}

TEST(AttributeCopies, ListsHandedOutAreSnapshots) {
    auto e = makeEnumAttribute("Mode", "a,b", "a,b,c");
    auto before = e->getValues();
    auto allowed = e->getEnumValues();
    e->setValues("c");
    before->push_back("x");
    EXPECT_EQ(before->snapshot(), (std::vector<std::string>{"a", "b", "x"}));
    EXPECT_EQ(e->getValues()->snapshot(), std::vector<std::string>{"c"});
    allowed->clear();
    EXPECT_EQ(e->getEnumValues()->size(), 3u);
}

// ---- Enum lists on attributes ------------------------------------------------

TEST(EnumAttributeLists, SettersAndTheMultipleRule) {
    struct Row {
        const char* values;
        std::vector<std::string> expected;
        bool allowMultiple;
    };
    const Row rows[] = {
        {"Logger", {"Logger"}, false},
        {"a, b;c", {"a", "b", "c"}, true},
        {" x ", {"x"}, false},
    };
    for (const Row& row : rows) {
        auto e = makeEnumAttribute("E", row.values, "a,b,c,x,Logger");
        EXPECT_EQ(e->getValues()->snapshot(), row.expected) << row.values;
        EXPECT_EQ(e->isAllowMultiple(), row.allowMultiple) << row.values;
    }

    // New allowed values drop the current ones.
    auto e = makeEnumAttribute("E", "a", "a,b");
    e->setEnumValues("x : y");
    EXPECT_TRUE(e->getValues()->empty());
    EXPECT_EQ(e->getEnumValues()->snapshot(), (std::vector<std::string>{"x", "y"}));
    e->setValues(std::vector<std::string>{"y", "y"});
    EXPECT_EQ(e->getValues()->snapshot(), (std::vector<std::string>{"y", "y"}));
}

// ---- Visitors and casts -------------------------------------------------------

// Names the interface each visit was called with.
class NamingVisitor : public ConfigAttributeVisitor, public ConstConfigAttributeVisitor {
public:
#define RQ7_NAMING_VISIT(Kind, ...)               \
    void visit(Kind##Attribute&) override {       \
        seen = #Kind "Attribute";                 \
    }                                             \
    void visit(const Kind##Attribute&) override { \
        seenConst = #Kind "Attribute";            \
    }
    RQ7_ATTRIBUTE_KINDS(RQ7_NAMING_VISIT)
#undef RQ7_NAMING_VISIT
    std::string seen;
    std::string seenConst;
};

TEST(AttributeVisitors, EachKindReachesItsOwnVisit) {
    forEachAttributeKind([](auto tag) {
        constexpr AttributeKind K = decltype(tag)::value;
        AttributeXml<K> attribute("a");
        NamingVisitor v;
        static_cast<ConfigAttribute&>(attribute).accept(static_cast<ConfigAttributeVisitor&>(v));
        static_cast<const ConfigAttribute&>(attribute).accept(static_cast<ConstConfigAttributeVisitor&>(v));
        EXPECT_EQ(v.seen, AttributeKindTraits<K>::elementName);
        EXPECT_EQ(v.seenConst, AttributeKindTraits<K>::elementName);

        EXPECT_EQ(attributeKindOf(attribute), K);
    });
}

TEST(AttributeCasts, ConsumersCastToTheTypedInterface) {
    struct Row {
        ConfigAttributePtr attribute;
        bool isString, isPath, isUInt32, isAddr32, isUInt64, isAddr64;
    };
    const Row rows[] = {
        {makeStringAttribute("s", "v"), true, false, false, false, false, false},
        {makePathAttribute("p", "/tmp"), true, true, false, false, false, false},
        {makeUInt32Attribute("u", 1), false, false, true, false, false, false},
        {makeAddr32Attribute("a", 0x10), false, false, true, true, false, false},
        {makeUInt64Attribute("u", 1), false, false, false, false, true, false},
        {makeAddr64Attribute("a", 0x10), false, false, false, false, true, true},
        {makeInt32Attribute("i", 1), false, false, false, false, false, false},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.attribute->getName());
        EXPECT_EQ(bool(boost::dynamic_pointer_cast<StringAttribute>(r.attribute)), r.isString);
        EXPECT_EQ(bool(boost::dynamic_pointer_cast<PathAttribute>(r.attribute)), r.isPath);
        EXPECT_EQ(bool(boost::dynamic_pointer_cast<UInt32Attribute>(r.attribute)), r.isUInt32);
        EXPECT_EQ(bool(boost::dynamic_pointer_cast<Addr32Attribute>(r.attribute)), r.isAddr32);
        EXPECT_EQ(bool(boost::dynamic_pointer_cast<UInt64Attribute>(r.attribute)), r.isUInt64);
        EXPECT_EQ(bool(boost::dynamic_pointer_cast<Addr64Attribute>(r.attribute)), r.isAddr64);
        EXPECT_TRUE(dynamic_cast<ConfigAttributeXml*>(r.attribute.get()));
    }
}

// ---- Text forms ------------------------------------------------------------

TEST(AttributeTextForms, ValuesAsTheFileWritesThem) {
    const float nanF = std::numeric_limits<float>::quiet_NaN();
    const double infD = std::numeric_limits<double>::infinity();
    struct Row {
        std::string actual;
        const char* expected;
    };
    const Row rows[] = {
        {AttributeKindTraits<AttributeKind::Addr32>::toText(0xABCDEF01u), "0xabcdef01"},
        {AttributeKindTraits<AttributeKind::Addr64>::toText(0), "0x0"},
        {AttributeKindTraits<AttributeKind::Addr64>::toText(0xFFFFFFFFFFFFFFFFull), "0xffffffffffffffff"},
        {AttributeKindTraits<AttributeKind::Int32>::toText(-5), "-5"},
        {AttributeKindTraits<AttributeKind::Int64>::toText(std::numeric_limits<int64_t>::min()),
         "-9223372036854775808"},
        {AttributeKindTraits<AttributeKind::UInt64>::toText(std::numeric_limits<uint64_t>::max()),
         "18446744073709551615"},
        {AttributeKindTraits<AttributeKind::Float>::toText(nanF), "NaN"},
        {AttributeKindTraits<AttributeKind::Double>::toText(infD), "INF"},
        {AttributeKindTraits<AttributeKind::Double>::toText(-infD), "-INF"},
        {AttributeKindTraits<AttributeKind::Float>::toText(-0.0f), "-0.0"},
        {AttributeKindTraits<AttributeKind::Float>::toText(1.0f / 3.0f), "0.3333333"},
        {AttributeKindTraits<AttributeKind::Double>::toText(1.0 / 3.0), "0.33333333333333"},
        {AttributeKindTraits<AttributeKind::Float>::toText(1.0f), "1"},
        {AttributeKindTraits<AttributeKind::Bool>::toText(true), "true"},
        {AttributeKindTraits<AttributeKind::Enum>::toText({"a", "", "b"}), "a,,b"},
    };
    for (const Row& row : rows) EXPECT_EQ(row.actual, row.expected);
}

// Address text from the file to its number and back: digits in either case,
// leading zeros, the widest values.
TEST(AttributeTextForms, AddressTextToNumberAndBack) {
    struct Row {
        const char* text;
        uint64_t number;
        const char* written;
    };
    const Row rows[] = {
        {"0x0", 0, "0x0"},
        {"0x00000010", 0x10, "0x10"},
        {"0xABCDEF01", 0xABCDEF01u, "0xabcdef01"},
        {"0xffffffffffffffff", 0xFFFFFFFFFFFFFFFFull, "0xffffffffffffffff"},
        {"0x8000000000000000", 0x8000000000000000ull, "0x8000000000000000"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(AddrCodec<16>::toNumber(row.text), row.number) << row.text;
        EXPECT_EQ(AddrCodec<16>::toText(row.number), row.written) << row.text;
    }
    EXPECT_EQ(AddrCodec<8>::toNumber("0xFFFFFFFF"), 0xFFFFFFFFu);
}

}  // namespace
