// The body of a PMI element, in the form that the first byte chooses: reported, read, written back,
// written in the other forms, merged with itself, and edited. A finding is content that is not
// written back as it was, that some version cannot hold, or that cannot be read again.

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "file/PMIElement.h"
#include "file/PMITags.h"

namespace {

using namespace jt;
using namespace jt::file;

constexpr Format kForms[] = {{8, 1, false}, {9, 5, false}, {10, 0, false}, {10, 5, false},
                             {8, 1, true},  {9, 5, true},  {10, 0, true},  {10, 5, true}};

[[noreturn]] void finding(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

class Silent : public FieldListener {
  void field(std::size_t, std::size_t, const char*, const char*, const std::string&) override {}
};

/// The content as it is read from another form.
PMIData rewritten(const PMIData& data, const Format& format) {
  ByteSink out;
  codec::Report losses;
  try {
    writePMI(out, data, format, losses);
  } catch (const JtFormatError&) {
    finding("a version cannot hold the content");
  }
  try {
    return readPMI(out.bytes(), format, 0);
  } catch (const JtFormatError&) {
    finding("what was written cannot be read");
  }
}

std::size_t entityCount(const PMIData& data) { return PMIAccess::make(data)->entities().size(); }

std::size_t linkCount(const PMIData& data) {
  const auto links = PMIAccess::make(data)->links();
  return static_cast<std::size_t>(std::ranges::count_if(
      links, [](const auto& link) { return link.source && link.destination; }));
}

void convert(const PMIData& data) {
  const bool isUnderstood = [&] {
    PMIData copy(data);
    return !copy.form.opaqueRest && (copy.cadTags.flag == 0 || decodeCadTags(copy));
  }();
  for (const Format& format : kForms) {
    const PMIData again = rewritten(data, format);
    if (entityCount(again) != entityCount(data))
      finding("entities are lost on the way to another version");
    if (isUnderstood && linkCount(again) != linkCount(data))
      finding("links are lost on the way to another version");
  }
}

/// One entity in a view more, one entity less.
void addAndRemove(PMIDataManager& manager) {
  PMIGenericEntity entity;
  entity.texts.emplace_back().stringId = manager.stringId(JtString("added"));
  entity.texts[0].indices = {0, 20000, 40000};
  entity.texts[0].vertices.resize(80000);
  const std::size_t links = linkCount(manager.data());
  const PMITypedID view = manager.addModelView({});
  manager.addAssociation(manager.addGenericEntity(entity), view, 98);
  if (linkCount(manager.data()) <= links) finding("an added link leads nowhere");
  manager.removeGenericEntity(0);
}

void edit(const PMIData& data, const Format& format) {
  const Ref<PMIDataManager> manager = PMIAccess::make(data);
  const std::size_t count = entityCount(data);
  try {
    manager->merge(*PMIAccess::make(data));
    if (entityCount(manager->data()) != 2 * count) finding("a merge loses entities");
    manager->removeGenericEntity(0);
    addAndRemove(*manager);
    const std::size_t edited = entityCount(manager->data());
    if (entityCount(rewritten(manager->data(), format)) != edited)
      finding("edited entities are not read again");
    manager->makeGeneric();
    if (manager->pmiDataGenericArray().size() != edited)
      finding("entities are lost on the way to generic ones");
  } catch (const JtFormatError&) {
    return;  // not editable
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Format& format = kForms[data[0] % std::size(kForms)];
  const auto body = std::as_bytes(std::span(data, size)).subspan(1);
  try {
    Silent silent;
    try {
      tracePMI(body, format, 0, silent);
    } catch (const JtFormatError&) {
      // Reported as far as it goes.
    }
    const PMIData read = readPMI(body, format, 0);
    ByteSink out;
    codec::Report losses;
    writePMI(out, read, format, losses);
    if (!std::ranges::equal(out.bytes(), body)) finding("not written back as it was read");
    convert(read);
    edit(read, format);
  } catch (const JtFormatError&) {
    return 0;
  }
  return 0;
}
