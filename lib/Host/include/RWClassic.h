#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "RWCRegexp.h"

// The string and container types of the host's boundary, as names for standard types. Null and the
// empty string are the same thing: both are `s.empty()`.

/// Narrow text. Always UTF-8; other bytes are carried unchanged but have no characters.
using RWClassicCString = std::string;

/// Wide text. One element a code point where wchar_t has 32 bits; lone surrogates may occur.
using RWClassicWString = std::wstring;

template <class T>
using RWClassicTValOrderedVector = std::vector<T>;

/// A sequence of sequences, such as the polylines of an annotation.
template <class T>
using RTTwoLevelRWTOrderedVector = std::vector<std::vector<T>>;

template <class T, class Hash = std::hash<T>>
using RWClassicTValHashSet = std::unordered_set<T, Hash>;

template <class Key, class Value, class Hash = std::hash<Key>>
using RWClassicTValHashDictionary = std::unordered_map<Key, Value, Hash>;
