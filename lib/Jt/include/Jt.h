#pragma once

#include "JtExport.h"
#include "JtNode.h"
#include "JtString.h"

/// Names and small operations of the scene-graph library.
class JT_API Jt {
 public:
  /// Key of a node's name, "JT_PROP_NAME".
  static const char* const jtPropName;
  /// Key of a node's length unit, "JT_PROP_MEASUREMENT_UNITS".
  static const char* const jtPropMeasurementUnits;

  /// The text of a node's name as stored, with its extension; empty when it has none.
  static JtString name(const JtNode* node);
  /// A deep copy of `node`: every node below is copied once, however many paths lead to it;
  /// attributes, atoms and segments are shared. Empty for null.
  static jt::Ref<JtNode> clone(const JtNode* node);
};

/// Start and stop of the scene-graph library. Stopping ends the background threads; objects may be
/// released after it.
class JT_API JtLib {
 public:
  /// Starts and stops the library. Calls need not be counted.
  static void init();
  static void fini();
};

/// Start and stop of precise geometry. It is carried, never interpreted, so there is nothing to set
/// up.
class JT_API JtBrepLib {
 public:
  /// Starts and stops this part of the library; nothing to do here.
  static void init() {}
  static void fini() {}
};

/// Start and stop of XT precise geometry, as JtBrepLib.
class JT_API JtXTBrepLib {
 public:
  /// Starts and stops this part of the library; nothing to do here.
  static void init() {}
  static void fini() {}
};
