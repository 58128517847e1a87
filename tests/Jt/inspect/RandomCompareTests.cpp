// Random scenes: one edit is found where it was made, and nothing else is.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "Jt.h"
#include "support/Differences.h"
#include "support/MemoryStorage.h"
#include "support/RandomScene.h"

namespace {

void name(JtNode& node, const char* text) {
  node.addProperty(jt::make<JtStringPropAtom>(JtString(Jt::jtPropName)).get(),
                   jt::make<JtStringPropAtom>(JtString(text)).get(), true);
}

/// What an edit is expected to be found as: the kind, and what is below the node's path.
struct Expected {
  jt::DifferenceKind kind;
  std::string below;
  bool somewhereElse = false;  ///< a shared attribute is reported for another node
};

std::optional<Expected> edit(JtNode& node, Choices& choices) {
  using Kind = jt::DifferenceKind;
  auto* group = jt::as<JtGroup>(&node);
  const bool hasAttributes = node.numAttributes() > 0;
  switch (choices.of(7)) {
    case 0:
      node.setIgnored(!node.isIgnored());
      return Expected{Kind::field, ""};
    case 1:
      node.addProperty(jt::make<JtStringPropAtom>(JtString("a key of its own")).get(),
                       jt::make<JtFloatPropAtom>(1.0F).get(), true);
      return Expected{Kind::property, ""};
    case 2: {
      if (!hasAttributes) return {};
      JtAttribute& changed = *node.attribute(0);
      changed.setState(JtAttributeState::ignore, !changed.hasState(JtAttributeState::ignore));
      return Expected{Kind::attribute, "", changed.refCount() > 1};
    }
    case 3:
      node.appendAttribute(jt::make<JtXform>().get());
      return Expected{Kind::attribute, ""};
    case 4:
      if (!hasAttributes) return {};
      node.removeAttribute(0);
      return Expected{Kind::attribute, ""};
    case 5: {
      if (!group || jt::as<JtPartition>(&node)) return {};
      const auto child = jt::make<JtGroup>();
      name(*child, "INSERTED");
      group->insertChild(static_cast<int>(choices.of(4)) % (group->numChildren() + 1), child.get());
      return Expected{Kind::node, "/INSERTED"};
    }
    default:
      if (!group || group->numChildren() == 0) return {};
      group->removeChild(static_cast<int>(choices.number() % 4) % group->numChildren());
      return Expected{Kind::node, "/"};
  }
}

TEST(RandomCompare, FindsOneEditAndNothingElse) {
  const bool holds = rc::check([] {
    const auto numbers = *rc::gen::resize(
        300, rc::gen::container<std::vector<std::uint32_t>>(rc::gen::arbitrary<std::uint32_t>()));
    MemoryStorage storage;
    Choices choices(numbers);
    const auto root = jt::make<JtPartition>();
    root->setVersion(choices.oneIn(2) ? jt::FileVersion{9, 5} : jt::FileVersion{10, 0});
    Author author(*root, choices);
    const std::size_t index = choices.of(8);
    const std::size_t kind = choices.number();
    for (std::size_t nodes = choices.of(20); nodes > 0; --nodes) author.addNode();
    const std::size_t place = index % author.nodes().size();
    name(*author.nodes()[place], "EDITED");
    const Bytes bytes = storage.saved(*root);
    const auto a = storage.open(bytes);
    const auto b = storage.open(bytes);
    RC_ASSERT(Differences(*a, *b).lines().empty());

    jt::SaveOptions other;
    other.version = root->version().major == 10 ? jt::FileVersion{9, 5} : jt::FileVersion{10, 0};
    RC_ASSERT(Differences(*a, *storage.open(storage.saved(*b, other))).lines().empty());

    Choices none({});
    const Author inB(*b, none);
    JtNode& node =
        place == 0 ? *b : **std::ranges::find_if(inB.nodes(), [](const JtNode* candidate) {
          return Jt::name(candidate) == JtString("EDITED");
        });
    Choices editing({static_cast<std::uint32_t>(kind), static_cast<std::uint32_t>(kind / 7)});
    const std::optional<Expected> expected = edit(node, editing);
    const Differences found(*a, *b);
    RC_LOG() << "lines: " << rc::toString(found.lines());
    RC_ASSERT(found.lines().size() == (expected ? 1U : 0U));
    RC_ASSERT(Differences(*b, *a).lines() == found.lines());
    if (!expected) return;
    const jt::Difference& reported = found.all()[0];
    RC_ASSERT(reported.kind == expected->kind);
    const std::string path = (place == 0 ? "" : "/EDITED") + expected->below;
    if (!expected->somewhereElse && place > 0)
      RC_ASSERT(reported.path.find(path) != std::string::npos);
    if (place == 0 && expected->below.empty() && !expected->somewhereElse)
      RC_ASSERT(reported.path == "/");
  });
  EXPECT_TRUE(holds);
}

}  // namespace
