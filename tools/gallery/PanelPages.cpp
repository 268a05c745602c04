// A page of panels as they are made out of reflected members, docked around a view.
#include <array>
#include <filesystem>

#include "ClassEngine/ValueTypes.h"
#include "Gallery.h"
#include "comms/One2DCurve.h"
#include "interface/DockPanels.h"
#include "interface/Events.h"
#include "interface/FileBrowser.h"
#include "interface/HotKeyWindow.h"
#include "interface/ObjBrowser.h"
#include "interface/PanelWidget.h"
#include "shell/core/AppOptions.h"

namespace {

struct Item : BaseClass {
  REFLECTED(Item, BaseClass)
  _str Name{"Point"};
  float Weight = 1;
  const char* GetDisplayName(void*) override { return Name.c_str(); }
};
DECLARE_MEMBERS(Item) {
  Member<_str>("Name", Name);
  Member<_float>("Weight", Weight);
}

struct Sample : BaseClass {
  REFLECTED(Sample, BaseClass)
  int Mode = 1, Count = 120;
  float Radius = 40, Depth = -0.25f, Smoothness = 0.5f, Size = 0.125f, Place[3] = {1, 2.5f, -3};
  bool Fixed = true, Airbrush = false, Visible = true;
  uint32_t Tint = 0xFFD98E4A;
  int32_t Texture = -1;
  _str StampVolume, Path{"pictures/skin.png"}, Polycount{"1 204 337"};
  comms::One2DCurve Curve;
  ClonesArray<Item> Items;
  void Apply() {}
};
DECLARE_MEMBERS(Sample) {
  Member<_index>("Brush", Mode, "GalleryBrushes").Entries({"Sphere", "Carve", "Segment"});
  Member<CtrlFSlider>("Radius", Radius, {1, 400, 40}).Unit("pixels");
  Member<CtrlFSlider>("Depth", Depth, {-1, 1, 0.3f});
  Member<CtrlFSlider>("Smoothness", Smoothness, {0, 1, 0.5f});
  Member<_bool>("FixedSize", Fixed);
  Member<_float>("SceneRadius", Size).Range(0, 10).Unit("mm");
  Separator("*Placement");
  Member<_bool>("Visible", Visible);
  Member<_int>("Count", Count);
  Member<_color>("Tint", Tint);
  Member<_str>("A label that is far too long for its column", StampVolume);
  Member<_str>("Picture|*.png;*.jpg", Path);
  Member<_str>("^Triangles", Polycount);
  Member<_TextureID>("Texture", Texture);
  Method("Apply", &Sample::Apply);
  Method("%Mirror", &Sample::Apply);
  Method("%Flip", &Sample::Apply);
  Member<comms::One2DCurve>("Falloff", Curve);
  Member<ClonesArray<Item>>("*Points", Items);
}

class Volumes : public ObjTreeModel {
 public:
  struct Volume {
    std::string Name;
    uint8_t Flags = ObjVisible;
    std::vector<int> Below{};
  };
  std::vector<Volume> All{{"Head", ObjVisible, {1, 2}},      {"Left eye"}, {"Right eye", ObjVisible | ObjGhost},
                          {"Torso with a rather long name"}, {"Base", 0},  {"Locked one", ObjVisible | ObjLocked}};
  std::vector<Node> GetChildren(Node parent) const override {
    std::vector<Node> nodes;
    if (!parent)
      for (const int i : {0, 3, 4, 5}) nodes.push_back(&All[size_t(i)]);
    else
      for (const int i : static_cast<const Volume*>(parent)->Below) nodes.push_back(&All[size_t(i)]);
    return nodes;
  }
  std::string GetName(Node node) const override { return static_cast<const Volume*>(node)->Name; }
  bool IsSelected(Node node) const override { return node == &All[3]; }
  void Select(Node, bool) override {}
  uint8_t GetOfferedFlags() const override { return ObjVisible | ObjGhost | ObjLocked; }
  uint8_t GetFlags(Node node) const override { return static_cast<const Volume*>(node)->Flags; }
  std::string GetNote(Node node) const override { return node == &All[0] ? "1.2 M" : ""; }
};

struct PanelPage {
  explicit PanelPage(cWidgets& widgets) : Docks(widgets) {
    for (BaseClass* object : std::initializer_list<BaseClass*>{&Shown, &Options, &Keys}) object->RegisterMembers();
    for (const auto& [x, y] : {std::pair{0.0f, 0.0f}, {0.4f, 0.8f}, {1.0f, 1.0f}}) Shown.Curve.AddPoint(x, y);
    for (int i = 0; i < 2; i++) Shown.Items.ExpandWith("Item");
    for (const char* name : {"Undo", "Redo", "Carve", "Open", "Frame"}) {
      Action action;
      action.Name = action.TextKey = action.Icon = name;
      action.Run = [] {};
      action.DefaultKeys = {std::string("Ctrl+") + name[0]};
      All.Add(action);
    }
    Keys.SetDefaults(All);
    Docks.Add({"ToolParamsPanel", "Settings", [this] { return new PanelWidget(&Shown); }, DockSide::Right, 264, 420});
    Docks.Add({"VoxTreePanel", "Layers", [] { return new ObjBrowser(std::make_unique<Volumes>()); }, DockSide::Left, 200, 180});
    Docks.Add({"PreferencesPanel", "Settings", [this] { return new PanelWidget(&Options); }, DockSide::Left, 240, 380});
    Docks.Add({"HotKeysPanel", "Keyboard", [this] { return new HotKeyWindow(Keys, All); }, DockSide::Right, 264, 200});
    Docks.SetDefault({"ToolParamsPanel", "VoxTreePanel", "PreferencesPanel", "HotKeysPanel"});
    Docks.Arrange(widgets.GetCanvas().Screen(), widgets.GetCanvas());
    widgets.Process(1);
  }
  Sample Shown;
  AppOptions Options;
  Actions All;
  HotKeys Keys;
  DockPanels Docks;
};

// The title bar of the first panel at the left is carried over the right ones.
void DragOut(cWidgets& widgets) {
  const float s = widgets.Scale();
  widgets.Queue(PointerEvent(InputKind::ButtonDown, 90 * s, 15 * s, MouseButton::Left));
  widgets.Queue(PointerEvent(InputKind::PointerMove, 300 * s, 100 * s));
  widgets.Queue(PointerEvent(InputKind::PointerMove, 760 * s, 560 * s));
}

// Dropped on the middle of a panel it becomes a tab; another one is left floating over the view.
void MakeTabs(cWidgets& widgets) {
  for (const auto& [fromX, fromY, toX, toY] : {std::array{90.0f, 15.0f, 960.0f, 250.0f}, {90.0f, 15.0f, 480.0f, 200.0f}}) {
    widgets.Queue(PointerEvent(InputKind::ButtonDown, fromX, fromY, MouseButton::Left));
    widgets.Queue(PointerEvent(InputKind::PointerMove, fromX + 30, fromY + 30));
    widgets.Queue(PointerEvent(InputKind::PointerMove, toX, toY));
    widgets.Queue(PointerEvent(InputKind::ButtonUp, toX, toY, MouseButton::Left));
    widgets.HandleInputEvents();
  }
}

void BrowseFiles(cWidgets& widgets) {
  FileBrowserRequest request;
  request.What = FileBrowserRequest::Kind::Save;
  request.Title = "SAVE";
  request.FileName = "dragon.obj";
  request.Folder = std::filesystem::current_path().string();
  FileBrowser::Open(widgets, request, {});
}

}  // namespace

std::shared_ptr<void> MakePanelPage(cWidgets& widgets, PanelPageState state) {
  const auto page = std::make_shared<PanelPage>(widgets);
  if (state == PanelPageState::Dragging) DragOut(widgets);
  if (state == PanelPageState::Tabs) MakeTabs(widgets);
  if (state == PanelPageState::Files) BrowseFiles(widgets);
  return page;
}
