#pragma once
// The thirteen attribute kinds, one row each. Every list over the kinds (the
// AttributeKind enumeration, the traits, the visitors, the plain and editable
// implementations, the file binding and its choice table) is generated from
// these rows; nothing else names all kinds.
//
// X(Kind, Index, Value, Codec, Range, Form)
//   Kind   interface Kind##Attribute, file element "Kind" "Attribute"
//   Index  choice number of the element inside a ConfigBlock (file order;
//          checked at compile time against the row's position)
//   Value  value type of the interface
//   Codec  how the binding checks, converts and writes DefaultValue
//   Range  binding class template of the kind's range element, or NoRange
//   Form   text form of a value (TextForm), which also fixes the shape
//
// The columns are expanded only where a macro uses them, so the codec and
// range names need not be declared where only the kind names are wanted.
#define RQ7_ATTRIBUTE_KINDS(X)                                      \
    X(String, 0, std::string, TextCodec, NoRange, Verbatim)         \
    X(Path, 1, std::string, TextCodec, NoRange, Verbatim)           \
    X(File, 2, std::string, TextCodec, NoRange, Verbatim)           \
    X(Int32, 3, int32_t, IntCodec<int32_t>, c_IntRange, Decimal)    \
    X(UInt32, 4, uint32_t, IntCodec<uint32_t>, c_IntRange, Decimal) \
    X(Int64, 5, int64_t, IntCodec<int64_t>, c_IntRange, Decimal)    \
    X(UInt64, 6, uint64_t, IntCodec<uint64_t>, c_IntRange, Decimal) \
    X(Addr32, 7, uint32_t, AddrCodec<8>, c_IntRange, Hex)           \
    X(Addr64, 8, uint64_t, AddrCodec<16>, c_IntRange, Hex)          \
    X(Float, 9, float, RealCodec<float>, c_RealRange, Real)         \
    X(Double, 10, double, RealCodec<double>, c_RealRange, Real)     \
    X(Bool, 11, bool, FlagCodec, NoRange, Flag)                     \
    X(Enum, 12, std::vector<std::string>, TextCodec, NoRange, List)

// The interfaces in file order, each followed by a comma.
#define RQ7_ATTRIBUTE_INTERFACE_COMMA(Kind, ...) Kind##Attribute,
