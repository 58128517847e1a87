#pragma once

#include "ApiWmPMIAnnotationData.h"
#include "JtwPMI.h"

/// A PMI that carries an annotation: text and lines.
class JTW_API JtwPMIAnnotation : public JtwPMI {
 public:
  JtwPMIAnnotation() = default;
  /// An annotation without key on a collection; enters no map.
  JtwPMIAnnotation(JtwCollection* collection, JtwRoot* root) : JtwPMI(collection, root) {}
  JtwPMIAnnotation(const JtwPMIAnnotation&) = default;
  JtwPMIAnnotation& operator=(const JtwPMIAnnotation&) = default;
  ~JtwPMIAnnotation() override;

  JT_NODE_TYPE type() override { return JT_PMI_ANNOTATION_NODE; }

  /// Text and lines, with the host's values beside them.
  ApiWmPMIAnnotationData& annotationData() noexcept { return annotation_; }
  const ApiWmPMIAnnotationData& annotationData() const noexcept { return annotation_; }
  void setAnnotationData(const ApiWmPMIAnnotationData& data) { annotation_ = data; }

 private:
  ApiWmPMIAnnotationData annotation_;
};
