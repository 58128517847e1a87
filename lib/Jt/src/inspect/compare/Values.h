#pragma once

// Values of atoms, metadata and fields: whether they are the same, and how they are reported.

#include <string>

#include "JtCompare.h"
#include "JtMetaData.h"
#include "JtPropAtom.h"
#include "file/archive/FieldLister.h"

namespace jt::compare_detail {

/// Equal, at most `tolerance` apart, or both not a number.
bool isClose(double a, double b, double tolerance) noexcept;
bool isClose(std::span<const double> a, std::span<const double> b, double tolerance) noexcept;

/// True when both atoms have one type and value. Late-loaded, carried and pointing atoms are not
/// for this function: for them it looks at the type alone.
bool sameAtom(const JtPropAtom& a, const JtPropAtom& b);
ComparedValue atomValue(const JtPropAtom& atom);
std::string atomText(const JtPropAtom& atom);

bool sameMetaValue(const JtMetaData::Value& a, const JtMetaData::Value& b);
ComparedValue metaValue(const JtMetaData::Value& value);

/// Compares a field that both lists have under one name.
/// @param tolerance of real numbers
bool sameField(const file::FieldList& a, const file::FieldList::Field& fieldA,
               const file::FieldList& b, const file::FieldList::Field& fieldB, double tolerance);
ComparedValue fieldValue(const file::FieldList& list, const file::FieldList::Field& field);

/// "12 bytes", and where the two begin to differ.
std::string bytesText(std::span<const std::byte> bytes, std::span<const std::byte> other);

}  // namespace jt::compare_detail
