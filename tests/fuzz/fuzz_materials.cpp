// The material update of a file. Findings: a second update that changes something, and an updated
// file that cannot be saved and opened again as it is.

#include "DmKrUtilsUpdateJtMaterials.h"
#include "Finding.h"
#include "SegmentMutator.h"
#include "support/SceneText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static MemoryStorage storage;
  const auto bytes = std::as_bytes(std::span(data, size - 1));
  try {
    const auto root = storage.open(Bytes(bytes.begin(), bytes.end()), smallLimits());
    const DmKrUtilsUpdateJtMaterials update(data[size - 1] % 2 == 1);
    DmKrUtilsUpdateJtMaterials::Result result;
    if (!update.execute(root.get(), result)) return 0;
    DmKrUtilsUpdateJtMaterials::Result second;
    if (!update.execute(root.get(), second) || second.hasChanges())
      finding("a second update changes something");
    root->growBounds();  // as the save does
    const auto again = storage.open(storage.saved(*root), smallLimits());
    if (SceneText::of(*root) != SceneText::of(*again))
      finding("the saved file means something else");
    if (!update.execute(again.get(), second) || second.hasChanges())
      finding("the saved file was not updated");
  } catch (const JtFormatError&) {
    // Cannot be opened, or not saved.
  }
  return 0;
}

/// Mostly changes the scene graph.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  if (size < 2 || seed % 8 == 0) return LLVMFuzzerMutate(data, size, maxSize);
  const std::uint8_t last = data[size - 1];
  const std::size_t changed = mutateSegment(data, size - 1, maxSize - 1, 2 * (seed / 8));
  data[changed] = last;
  return changed + 1;
}
