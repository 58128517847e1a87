#include <gtest/gtest.h>

#include <string>

#include "JtMaterial.h"
#include "JtTexture.h"
#include "file/elements/ElementTable.h"

namespace {

std::int64_t dataFlagsOf(const JtMaterial& material) {
  const jt::file::Format format{10, 0, false};
  jt::file::FieldList list;
  jt::file::FieldLister lister(list, format, false);
  jt::file::findElementKind(material.typeID())->list(lister, material);
  for (const auto& field : list.fields)
    if (field.name == std::string_view("dataFlags")) return list.integersOf(field)[0];
  return -1;
}

TEST(Material, BlendsWhileItsColorIsTransparent) {
  JtMaterial material;
  material.setDiffuseColor(0.1F, 0.2F, 0.3F, 0.4F);
  EXPECT_TRUE(material.blending());
  EXPECT_EQ(dataFlagsOf(material) & 0xffc0, 6 << 6 | 7 << 11) << "alpha, 1 - alpha";
  material.setDiffuseColor(0.1F, 0.2F, 0.3F);
  EXPECT_FALSE(material.blending());
}

TEST(Material, TakesOneFieldOfAnother) {
  JtMaterial from;
  from.setDiffuseColor(0.1F, 0.2F, 0.3F, 0.4F);
  from.setSpecularColor(0.5F, 0.6F, 0.7F, 0.8F);
  from.setShininess(17);
  JtMaterial to;
  to.setDiffuseColor(0.9F, 0.8F, 0.7F);
  to.takeField(JtMaterialField::diffuse, from);
  EXPECT_EQ(to.diffuse(), (jt::Rgba{0.1F, 0.2F, 0.3F, 1}));
  EXPECT_FALSE(to.blending());
  to.takeField(JtMaterialField::alpha, from);
  EXPECT_EQ(to.diffuse(), (jt::Rgba{0.1F, 0.2F, 0.3F, 0.4F}));
  to.takeField(JtMaterialField::blending, from);
  EXPECT_TRUE(to.blending());
  to.takeField(JtMaterialField::specular, from);
  EXPECT_EQ(to.specular(), (jt::Rgba{0.5F, 0.6F, 0.7F, 0.8F}));
  EXPECT_EQ(to.shininess(), 17);
}

/// Two rows of three pixels whose components are numbered, in rows of a multiple of four bytes.
TEST(Texture, PixelsOfEveryStoredOrderBecomeRedGreenBlueAndAlpha) {
  const struct {
    std::uint32_t format;
    std::string stored;  // L: gray
  } cases[] = {{1, "RGB"}, {2, "RGBA"}, {3, "L"}, {4, "LA"}, {11, "BGR"}, {12, "BGRA"}};
  for (const auto& [format, stored] : cases) {
    const bool hasAlpha = stored.back() == 'A';
    std::vector<std::byte> texels;
    jt::TexturePixels expected{3, 2, hasAlpha ? 4 : 3, {}};
    for (int y = 0; y < 2; ++y) {
      for (int x = 0; x < 3; ++x) {
        const auto component = [&, &order = stored](char name) {
          std::size_t place = order.find(name);
          if (place == std::string::npos) place = order.find('L');
          return static_cast<std::byte>(100 * y + 10 * x + static_cast<int>(place));
        };
        for (const char name : stored) texels.push_back(component(name));
        for (const char name : std::string(hasAlpha ? "RGBA" : "RGB"))
          expected.bytes.push_back(component(name));
      }
      texels.resize((texels.size() + 3) / 4 * 4, std::byte{0xff});
    }
    JtTextureImage texture;
    texture.setPixels(expected);
    auto& image = const_cast<jt::TextureImage&>(texture.blocks().back().images.front());
    image.pixelFormat = format;
    image.rowAlignment = 4;
    image.mipmaps = {texels};
    EXPECT_EQ(texture.pixels(), expected) << stored;
  }
}

}  // namespace
