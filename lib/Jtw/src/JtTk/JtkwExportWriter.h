#pragma once

#include <memory>

#include "JtkwImporter.h"

class JtkCADExporter;
class JtkPart;

/// What is done around each part while an export root is written: the part gets the geometry of its
/// scene-graph node, and loses it again.
class JtkwExportWriter {
 public:
  /// Holds the importer of the process for the length of one write.
  class Session {
   public:
    explicit Session(bool exact);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    /// False when another write is running.
    bool isFirst() const noexcept { return isFirst_; }

   private:
    bool isFirst_;
  };

  /// Callbacks of the exporter. @return 2: go on
  static int partPreCB(JtkPart* part, JtkCADExporter* exporter);
  static int partPostCB(JtkPart* part, JtkCADExporter* exporter);

 private:
  static void fill(JtkPart& part, JtNode& node, bool exact);
  static std::unique_ptr<JtkwImporter> importer_;
  static unsigned nextPart_;
};
