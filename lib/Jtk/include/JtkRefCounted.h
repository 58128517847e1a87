#pragma once

#include "JtRefCounted.h"
#include "JtkExport.h"

/// Base of all objects of the toolkit: counted like those of the scene graph, by
/// JtRefCounted::ref() and unref() or a jt::Ref. A new object has no reference; the last unref()
/// destroys it.
class JTK_API JtkRefCounted : public JtRefCounted {
 protected:
  ~JtkRefCounted() override;
};
