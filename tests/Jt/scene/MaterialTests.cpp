#include <gtest/gtest.h>

#include "JtMaterial.h"

namespace {

TEST(Material, BlendsWhileItsColorIsTransparent) {
  JtMaterial material;
  material.setDiffuseColor(0.1F, 0.2F, 0.3F, 0.4F);
  EXPECT_TRUE(material.blending());
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

}  // namespace
