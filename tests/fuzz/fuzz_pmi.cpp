// The body of a PMI element, in the form that the first byte chooses: told, read, written back, put
// into the other forms, merged with itself, and one entity taken away. Content that is not written
// back as it was, or that cannot be read again, is a finding.

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "file/PMIElement.h"

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

/// What the content is in another form; false when it cannot be in that form.
bool rewritten(const PMIData& data, const Format& format, PMIData& again) {
  ByteSink out;
  codec::Report losses;
  try {
    writePMI(out, data, format, losses);
  } catch (const JtFormatError&) {
    return false;
  }
  again = readPMI(out.bytes(), format, 0);
  return true;
}

void convert(const PMIData& data) {
  for (const Format& format : kForms) {
    PMIData again;
    if (rewritten(data, format, again) &&
        again.genericEntities.size() != data.genericEntities.size())
      finding("entities are lost on the way to another version");
  }
}

void edit(const PMIData& data, const Format& format) {
  const Ref<PMIDataManager> manager = PMIAccess::make(data);
  const std::size_t count = data.genericEntities.size();
  try {
    manager->merge(*PMIAccess::make(data));
    if (manager->pmiDataGenericArray().size() != 2 * count) finding("a merge loses entities");
    manager->removeGenericEntity(0);
  } catch (const JtFormatError&) {
    return;
  }
  PMIData again;
  if (rewritten(manager->data(), format, again) &&
      again.genericEntities.size() != manager->pmiDataGenericArray().size())
    finding("edited entities are not read again");
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
      // Told as far as it goes.
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
