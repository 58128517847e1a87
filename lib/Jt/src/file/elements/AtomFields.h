#pragma once

// Field lists of the property atom elements, in the order and with the names of ISO 14306.

#include "JtPropAtom.h"
#include "file/archive/Archive.h"
#include "file/archive/FieldAccess.h"

namespace jt::file {

struct FieldAccess::Atoms {
  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtPropAtom>& atom) {
    base(ar, atom);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtStringPropAtom>& atom) {
    typed(ar, atom);
    ar("value", atom.value_);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtInt32PropAtom>& atom) {
    typed(ar, atom);
    ar("value", atom.value_);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtFloatPropAtom>& atom) {
    typed(ar, atom);
    ar("value", atom.value_);
  }

  /// Lets a copy that is written to another file name its object by the id there.
  static void setTarget(JtPtrPropAtom& atom, std::int32_t id) { atom.target_ = id; }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtPtrPropAtom>& atom) {
    typed(ar, atom);
    ar("objectId", atom.target_);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtDatePropAtom>& atom) {
    typed(ar, atom);
    ar("date", atom.value_);
    if (!ar.has(Feature::utcOffset)) return;
    if (isFresh(ar, atom)) {
      if (ar.has(Feature::attributeTail)) ar.writeDefault("utcOffset", 0.0F);
    } else {
      ar.optional("utcOffset", atom.utcOffset_);
    }
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtVector4fPropAtom>& atom) {
    typed(ar, atom);
    ar("value", atom.value_);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtLateLoadedPropAtom>& atom) {
    typed(ar, atom);
    ar("segmentId", atom.segmentId_);
    ar("segmentType", atom.segmentType_);
    if (!ar.has(Feature::latePayloadId)) return;
    ar("payloadObjectId", atom.payloadId_);
    if (isFresh(ar, atom)) {
      // Gone from 10.5 on.
      if (!ar.has(Feature::attributeTail)) ar.writeDefault("reserved", std::int32_t{1});
    } else {
      ar.optional("reserved", atom.reserved_);
    }
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtOpaquePropAtom>& atom) {
    base(ar, atom);
  }

  template <class Ar>
  static void trailingBytes(Ar& ar, Of<Ar, JtPropAtom>& atom) {
    if constexpr (Ar::kReading) {
      atom.trailingBytes_ = readTrailingBytes(ar);
    } else if (atom.trailingBytes_ && !isFresh(ar, atom)) {
      ar.append(*atom.trailingBytes_);
    }
  }

 private:
  template <class Ar>
  static bool isFresh(const Ar& ar, const JtPropAtom& atom) {
    return !Ar::kReading && ar.isDefaulted(atom.baseVersion_);
  }
  template <class Ar>
  static void base(Ar& ar, Of<Ar, JtPropAtom>& atom) {
    ar.version("baseVersionNumber", atom.baseVersion_, 1, 2);
    ar("stateFlags", atom.stateFlags_);
  }
  template <class Ar>
  static void typed(Ar& ar, Of<Ar, JtPropAtom>& atom) {
    base(ar, atom);
    ar.version("versionNumber", atom.version_, 1, 2);
  }
};

}  // namespace jt::file
