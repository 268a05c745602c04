#pragma once
// The stages of writing an OBJ file. Every element is written with the lowest object that uses it, so first comes the plan of
// what stands where; then the text is made in pieces on all cores and written in order while the next pieces are made.
#include <cstdint>

#include "comms/cFile.h"
#include "comms/cRawMesh.h"

namespace comms {

/// The elements of one array in the order of the file.
struct ObjElements {
  cRawList<int> Order;    ///< Order[i] is the element that has number i + 1 in the file
  cRawList<int> Numbers;  ///< number of an element in the file; 0: no polygon of any object uses it
  cList<size_t> Begins;   ///< those of object o stand at Order[Begins[o]] up to Begins[o + 1]
};

/// Neighbouring polygons of one object.
struct ObjPolyRun {
  size_t Begin, End;  ///< records
  int64_t FirstPolygon, NumPolygons;
  int Object;
  int MaterialBefore, GroupBefore;  ///< of the polygon before it in its object, -1 without one
};

struct ObjPlan {
  ObjElements Positions, TexCoords, Normals;
  bool HasTexCoords = false, HasNormals = false;
  cList<ObjPolyRun> Runs;       ///< by object
  cList<size_t> RunBegins;      ///< those of object o stand at RunBegins[o] up to RunBegins[o + 1]
  cList<int> Groups;            ///< smoothing group by polygon; empty: no "s" lines
  bool HasValidIndices = true;  ///< false: nothing else here can be used
  int64_t NumPolygons = 0;      ///< in all runs
};

/// `groups` as SortBySmoothingGroup gives them, or empty.
ObjPlan PlanObj(const cRawMesh& mesh, cList<int> groups);

/// Numbers the groups of polygons that share an edge, seen from both sides with the same two normals, and sorts the polygons of
/// `mesh` by group, in their old order within each. Returns the group of every polygon in the new order. Groups are numbered by
/// their first polygon; a polygon without such a neighbour takes a number too but stays out, and all of these form the last
/// group.
cList<int> SortBySmoothingGroup(cRawMesh& mesh);

/// Writes the sections of all objects. False, with the sentence in the file's Error(), where the file took no more or the person
/// cancelled.
bool WriteObjSections(const cRawMesh& mesh, const ObjPlan& plan, cFile& file);

}  // namespace comms
