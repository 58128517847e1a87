#include "SelectionFields.h"

#include <array>
#include <charconv>
#include <limits>

#include "ApiSysStringConvertors.h"
#include "JtPropAtom.h"
#include "JtwEditError.h"
#include "JtwLeaf.h"
#include "JtwNearestName.h"
#include "JtwPMIAnnotation.h"
#include "JtwValueText.h"

namespace jtw {
namespace {

using Evaluate = Selection::Evaluate;

/// An evaluation of one object after the other.
template <class Holds>
Evaluate eachObject(Holds holds) {
  return [holds](const Objects& objects) {
    std::vector<bool> result(objects.entries().size());
    for (std::size_t i = 0; i < result.size(); ++i) result[i] = holds(objects, i);
    return result;
  };
}

const std::string& requireValue(const FieldTest& test) {
  if (!test.value) failUsage("'" + test.field + "' needs a value: " + test.field + "=...");
  return *test.value;
}

// --- Texts

Evaluate kindTest(const FieldTest& test) {
  constexpr std::array<const char*, 7> kKinds{"component", "block", "link",      "sub-device",
                                              "entity",    "frame", "annotation"};
  const std::string& kind = requireValue(test);
  bool isKnown = false;
  for (const char* known : kKinds) isKnown = isKnown || kind == known;
  if (!isKnown) failUsage("there is no kind '" + kind + "'" + suggestion(kind, kKinds));
  return eachObject(
      [kind](const Objects& objects, std::size_t i) { return kind == kindName(objects.node(i)); });
}

Evaluate nameTest(const FieldTest& test) {
  const std::string pattern = requireValue(test);
  return eachObject([pattern](const Objects& objects, std::size_t i) {
    return matchesPattern(objects.name(i), pattern);
  });
}

std::optional<std::string> textOf(const JtPropAtom& atom) {
  if (const auto* text = jt::as<JtStringPropAtom>(&atom)) return text->value().stringToMbs();
  if (const auto* number = jt::as<JtInt32PropAtom>(&atom)) return std::to_string(number->value());
  if (const auto* number = jt::as<JtFloatPropAtom>(&atom)) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number->value());
    return std::string(digits.data(), end.ptr);
  }
  return {};
}

Evaluate propertyTest(const FieldTest& test) {
  if (test.property.empty()) failUsage("a property needs a name: property.NAME");
  const JtString key(test.property);
  return eachObject([key, pattern = test.value](const Objects& objects, std::size_t i) {
    JtwNode& node = objects.node(i);
    if (node.isOfTypePMI() || !node.jtNode()) return false;
    const JtPropAtom* atom = node.jtNode()->property(key);
    if (!atom || !pattern) return atom != nullptr;
    const auto text = textOf(*atom);
    return text && matchesPattern(*text, *pattern);
  });
}

// --- Numbers

struct Range {
  long first = std::numeric_limits<long>::min();
  long last = std::numeric_limits<long>::max();
};

long parseNumber(const FieldTest& test, std::string_view text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || error != std::errc() || end != text.data() + text.size())
    failUsage("'" + test.field + "' is '" + *test.value + "', not a whole number or A..B");
  return number;
}

Range parseRange(const FieldTest& test) {
  const std::string_view text = *test.value;
  const std::size_t dots = text.find("..");
  if (dots == std::string_view::npos) {
    const long number = parseNumber(test, text);
    switch (test.comparison) {
      case Comparison::less:
        return {.last = number - 1};
      case Comparison::lessOrEqual:
        return {.last = number};
      case Comparison::greater:
        return {.first = number + 1};
      case Comparison::greaterOrEqual:
        return {.first = number};
      default:
        return {number, number};
    }
  }
  if (test.comparison != Comparison::equal && test.comparison != Comparison::unequal)
    failUsage("a range is compared by = or !=");
  Range range;
  if (dots > 0) range.first = parseNumber(test, text.substr(0, dots));
  if (dots + 2 < text.size()) range.last = parseNumber(test, text.substr(dots + 2));
  return range;
}

/// @param number of an object: nothing when it has none
template <class Number>
Evaluate numberTest(const FieldTest& test, Number number) {
  const Range range = test.value ? parseRange(test) : Range();
  return eachObject([range, number](const Objects& objects, std::size_t i) {
    const std::optional<long> own = number(objects.node(i));
    return own && *own >= range.first && *own <= range.last;
  });
}

Evaluate keyTest(const FieldTest& test) {
  return numberTest(test, [](JtwNode& node) { return keyNumber(node.key()); });
}

Evaluate layerTest(const FieldTest& test) {
  return numberTest(test, [](JtwNode& node) {
    if (node.type() != JtwNode::JT_PMI_ANNOTATION_NODE) return std::optional<long>();
    const int layer = static_cast<JtwPMIAnnotation&>(node).annotationData().layer;
    return layer < 0 ? std::optional<long>() : std::optional<long>(layer);
  });
}

// --- Values

Evaluate unitTest(const FieldTest& test) {
  const float ratio = parseUnit(test.field, requireValue(test));
  return eachObject([ratio](const Objects& objects, std::size_t i) {
    return objects.node(i).measurementUnitRatio() == ratio;
  });
}

Evaluate colorTest(const FieldTest& test) {
  const ApiGraColor color = parseColor(test.field, requireValue(test));
  return eachObject([color](const Objects& objects, std::size_t i) {
    bool isDefault = true;
    const ApiGraColor own = colorOf(objects.node(i), isDefault);
    return !isDefault && own == color;
  });
}

Evaluate displayedTest(const FieldTest& test) {
  const bool on = parseTruth(test.field, requireValue(test));
  return eachObject([on](const Objects& objects, std::size_t i) {
    JtwNode& node = objects.node(i);
    return node.isCollection() == 0 && static_cast<JtwLeaf&>(node).displayState() == on;
  });
}

Evaluate preservedTest(const FieldTest& test) {
  const bool on = parseTruth(test.field, requireValue(test));
  return eachObject([on](const Objects& objects, std::size_t i) {
    return objects.node(i).isPreserved(false) == on;
  });
}

// --- Other objects, places

Evaluate belowTest(const FieldTest& test) {
  const ObjectAddress address(requireValue(test));
  return [address](const Objects& objects) {
    std::vector<bool> result(objects.entries().size());
    const std::size_t top = objects.find(address);
    const std::size_t end = objects.endOfSubtree(top);
    for (std::size_t i = top + 1; i < end; ++i) result[i] = true;
    return result;
  };
}

Evaluate attachedTest(const FieldTest& test) {
  if (!test.value)
    return eachObject([](const Objects& objects, std::size_t i) {
      return !attachmentOf(objects.node(i)).isNull();
    });
  const ObjectAddress address(*test.value);
  return [address](const Objects& objects) {
    const ApiProtoKey key = objects.node(objects.find(address)).key();
    return eachObject([key](const Objects& all, std::size_t i) {
      return !key.isNull() && attachmentOf(all.node(i)) == key;
    })(objects);
  };
}

bool isWithin(const std::optional<jt::Box>& inner, const jt::Box& outer) {
  for (std::size_t axis = 0; inner && axis < 3; ++axis)
    if (inner->min[axis] < outer.min[axis] || inner->max[axis] > outer.max[axis]) return false;
  return inner.has_value();
}

/// Others in the box of an object, also those below it.
Evaluate withinObject(const ObjectAddress& address) {
  return [address](const Objects& objects) {
    const std::size_t outer = objects.find(address);
    const auto extents = extentsOf(objects);
    if (!extents[outer])
      failRefused(objects.document(), "no_extent",
                  "the file states no extent of object " + address.text());
    std::vector<bool> result(extents.size());
    for (std::size_t i = 0; i < extents.size(); ++i)
      result[i] = i != outer && isWithin(extents[i], *extents[outer]);
    return result;
  };
}

Evaluate withinTest(const FieldTest& test) {
  const auto numbers = parseNumbers(requireValue(test));
  if (!numbers || numbers->size() == 1) return withinObject(ObjectAddress(*test.value));
  if (numbers->size() != 6)
    failUsage("'within' is '" + *test.value + "', not two corners: x,y,z,x,y,z");
  std::array<double, 6> corners{};
  std::copy(numbers->begin(), numbers->end(), corners.begin());
  return [corners](const Objects& objects) {
    const auto extents = extentsOf(objects);
    std::vector<bool> result(extents.size());
    for (std::size_t i = 0; i < extents.size(); ++i) {
      bool isInside = extents[i].has_value();
      for (std::size_t axis = 0; isInside && axis < 3; ++axis) {
        const auto [low, high] = std::minmax(corners[axis], corners[axis + 3]);
        isInside = static_cast<double>(extents[i]->min[axis]) >= low &&
                   static_cast<double>(extents[i]->max[axis]) <= high;
      }
      result[i] = isInside;
    }
    return result;
  };
}

struct Field {
  const char* name;
  bool isNumber;
  Evaluate (*evaluation)(const FieldTest&);
};

constexpr std::array kFields{Field{"kind", false, kindTest},
                             Field{"name", false, nameTest},
                             Field{"key", true, keyTest},
                             Field{"layer", true, layerTest},
                             Field{"unit", false, unitTest},
                             Field{"color", false, colorTest},
                             Field{"displayed", false, displayedTest},
                             Field{"preserved", false, preservedTest},
                             Field{"property", false, propertyTest},
                             Field{"below", false, belowTest},
                             Field{"within", false, withinTest},
                             Field{"attached", false, attachedTest}};

const Field& findField(const std::string& name) {
  std::vector<const char*> names;
  for (const Field& field : kFields) {
    if (name == field.name) return field;
    names.push_back(field.name);
  }
  failUsage("there is no field '" + name + "'" + suggestion(name, names, "the fields are"));
}

}  // namespace

void checkField(const std::string& name) { findField(name); }

Selection::Evaluate fieldEvaluation(const FieldTest& test) {
  const Field& field = findField(test.field);
  const bool isOrder =
      test.comparison != Comparison::equal && test.comparison != Comparison::unequal;
  if (isOrder && !field.isNumber) failUsage("'" + test.field + "' is compared by = or !=");
  Evaluate holds = field.evaluation(test);
  if (test.comparison != Comparison::unequal) return holds;
  return [holds](const Objects& objects) {
    std::vector<bool> result = holds(objects);
    result.flip();
    return result;
  };
}

}  // namespace jtw
