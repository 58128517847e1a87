#pragma once

#include "JtkwPMIData.h"

class JtkwPMIAppearanceData;

/// A note: lines of text in a language, and a line that leads away from them.
class JTW_API JtkwPMINoteData : public JtkwPMIData {
 public:
  JtkwPMINoteData();
  JtkwPMINoteData(const JtkwPMINoteData&) = default;
  JtkwPMINoteData& operator=(const JtkwPMINoteData&) = default;
  ~JtkwPMINoteData() override;

  /// Takes the location as it is, whatever the reference. The points become origin + (1, 1, 0) and
  /// origin + (0, 0, 1): the frame that notes have always had, and readers expect. The rotation is
  /// kept for setExtendedLine().
  void setRelLoc(const RTTran3D& location, const RTTran3D* reference) override;
  /// Moves `location`, with the rotation that the caller passed in, to the origin and makes it
  /// location * reference: the order of a note is the other way round than an annotation's.
  void getRelLoc(const RTTran3D& reference, RTTran3D& location) const override;

  /// The lines of text, UTF-8.
  RWClassicTValOrderedVector<RWClassicCString> text() const { return lines_; }
  /// Appends a copy of the text as the next line; null appends nothing.
  void setText(const char* line);

  /// How it looks; null: nothing is set. Not owned: it has to live until the record is written.
  JtkwPMIAppearanceData* appearanceData() const { return appearance_; }
  void setAppearanceData(JtkwPMIAppearanceData* appearance) { appearance_ = appearance; }

  /// Where the extended line ends, seen from the origin of the note; in millimetres.
  const RTVec3D& extendedLine() const { return extendedLine_; }
  /// Gives the note an extended line that ends at `end`, which the rotation of the location turns.
  /// Set the location first.
  void setExtendedLine(RTVec3D end);
  /// Whether the note has an extended line.
  bool hasExtendedLine() const { return hasExtendedLine_; }
  /// Whether a line that there is is drawn too; true unless it was switched off.
  bool shouldDrawExtendedLine() const { return shouldDrawExtendedLine_; }
  void setShouldDrawExtendedLine(bool on) { shouldDrawExtendedLine_ = on; }

  /// The language of the text as the host names it, such as "JPN"; empty: none.
  const RWClassicCString& language() const { return language_; }
  void setLanguage(const RWClassicCString& language) { language_ = language; }

 private:
  RWClassicTValOrderedVector<RWClassicCString> lines_;
  JtkwPMIAppearanceData* appearance_ = nullptr;
  RTVec3D extendedLine_;
  bool hasExtendedLine_ = false;
  bool shouldDrawExtendedLine_ = true;
  RTTran3D rotation_;
  RWClassicCString language_;
};
