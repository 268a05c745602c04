#include "interface/DockLayout.h"

#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/ValueTypes.h"

REGISTER_CLASS(DockLayoutElement, nullptr);
REGISTER_CLASS(DocksLayout, nullptr);
DECLARE_MEMBERS(DockLayoutElement) {
  Member<_index>("Kind", Kind, "DockElementKinds").Entries({"Space", "Group", "Floating", "Panel", "Closed"});
  Member<_str>("Name", Name);
  Member<_str>("Window", Window);
  Member<_index>("Side", Side, "DockSides").Entries({"Left", "Right", "Top", "Bottom"});
  Member<_float>("Size", Size);
  Member<_float>("X", X);
  Member<_float>("Y", Y);
  Member<_float>("Width", Width);
  Member<_float>("Height", Height);
  Member<_int>("Active", Active);
  Member<_int>("Index", Index);
  Member<_bool>("Collapsed", Collapsed);
  Member<_bool>("Floats", Floats);
  Member<ClonesArray<DockLayoutElement>>("Elements", Elements);
}

DECLARE_MEMBERS(DocksLayout) { Member<ClonesArray<DockLayoutElement>>("Elements", Elements); }

static DockLayoutElement& AppendTo(ClonesArray<DockLayoutElement>& elements, DockElementKind kind) {
  auto* element = new DockLayoutElement;
  element->RegisterMembers();
  element->Kind = kind;
  elements.Add(element);
  return *element;
}

DockLayoutElement& DockLayoutElement::Append(DockElementKind kind) { return AppendTo(Elements, kind); }
DockLayoutElement& DocksLayout::Append(DockElementKind kind) { return AppendTo(Elements, kind); }
