#pragma once

// The element "PMI Manager Meta Data": which of the forms in use an element has, and its content in
// the form of another version.

#include <string>
#include <vector>

#include "JtPMI.h"
#include "codec/vertex/VertexArrays.h"
#include "file/archive/Archive.h"
#include "file/archive/FieldAccess.h"

namespace jt::file {

/// Reads an element's body: tries the forms that producers use until one fits. Throws JtFormatError
/// "bad_pmi" when none does. @param base offset of the body, for messages
/// @param memory counts the result; may be null
PMIData readPMI(std::span<const std::byte> body, const Format& format, std::size_t base,
                MemoryShare* memory = nullptr);
/// Explains the fields of a body. Throws JtFormatError after those that can be read.
void tracePMI(std::span<const std::byte> body, const Format& format, std::size_t base,
              FieldListener& listener, MemoryShare* memory = nullptr);
/// Appends the body of an element in the form of any version. What the version cannot hold is left
/// out and listed in `losses`.
void writePMI(ByteSink& out, const PMIData& data, const Format& format, codec::Report& losses);

/// Appends the content in a form that depends on what it is, not on the file it is from. Throws
/// JtFormatError when it holds what is not understood.
void writeComparablePMI(ByteSink& out, PMIData data);

/// Makes managers of what was read.
struct FieldAccess::PMI {
  static Ref<PMIDataManager> make(PMIData data);
};

/// The string table of the typed layout. Its character set is not defined: when the whole table is
/// UTF-8 it is taken so, else as Latin-1.
std::vector<std::string> narrowStrings(const PMIData& data);
void setNarrowStrings(PMIData& data, const std::vector<std::string>& stored);

/// True for entities that the generic layout has no place for.
bool hasTypedPMI(const PMIData& data);
inline bool isGeneric(PMILayout layout) {
  return layout == PMILayout::generic10 || layout == PMILayout::generic105;
}

/// The first value under a key, or null.
const JtString* findProperty(const std::vector<PMIProperty>& properties, const JtString& key);

}  // namespace jt::file
