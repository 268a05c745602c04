// Draws panels docked around a view in both themes and several scales into PNG files, for people to look at:
//   panel_gallery <data folder> <folder for the pictures>
#include <array>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "../Events.h"
#include "ClassEngine/ValueTypes.h"
#include "GalleryMain.h"
#include "comms/One2DCurve.h"
#include "comms/Str.h"
#include "interface/DockPanels.h"
#include "interface/DockWidgets.h"
#include "interface/FileBrowser.h"
#include "interface/HotKeyWindow.h"
#include "interface/ObjBrowser.h"
#include "interface/PanelWidget.h"
#include "shell/core/AppOptions.h"
#include "shell/core/KeyTable.h"

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

using Act = std::function<void(cWidgets&, DockPanels&)>;

bool Draw(Gallery& gallery, const GalleryPicture& picture, const Act& act = {}) {
  int width, height;
  if (!gallery.Begin(picture, width, height)) return false;
  Canvas canvas(gallery.Render, gallery.Data);
  cWidgets widgets(canvas);
  Sample sample;
  sample.RegisterMembers();
  sample.Curve.AddPoint(0, 0);
  sample.Curve.AddPoint(0.4f, 0.8f);
  sample.Curve.AddPoint(1, 1);
  for (int i = 0; i < 2; i++) sample.Items.ExpandWith("Item");
  AppOptions options;
  options.RegisterMembers();
  Actions actions;
  for (const char* name : {"Undo", "Redo", "BrushCarve", "Open", "Frame"}) {
    Action action;
    action.Name = action.TextKey = action.Icon = name;
    action.Run = [] {};
    action.DefaultKeys = {std::string("Ctrl+") + name[0]};
    actions.Add(action);
  }
  HotKeys keys;
  keys.RegisterMembers();
  keys.SetDefaults(actions);
  DockPanels docks(widgets);
  docks.Add({"ToolParamsPanel", "Settings", [&] { return new PanelWidget(&sample); }, DockSide::Right, 264, 420});
  docks.Add({"VoxTreePanel", "Layers", [&] { return new ObjBrowser(std::make_unique<Volumes>()); }, DockSide::Left, 200, 180});
  docks.Add({"PreferencesPanel", "Settings", [&] { return new PanelWidget(&options); }, DockSide::Left, 240, 380});
  docks.Add({"HotKeysPanel", "Keyboard", [&] { return new HotKeyWindow(keys, actions); }, DockSide::Right, 264, 200});
  docks.SetDefault({"ToolParamsPanel", "VoxTreePanel", "PreferencesPanel", "HotKeysPanel"});
  widgets.SetSize(width, height, picture.Scale);
  docks.Arrange({0, 0, float(width), float(height)}, canvas);
  widgets.Process(1);
  if (act) act(widgets, docks);
  return gallery.Store(picture, widgets);
}

// The title bar of the first panel at the left is carried over the right ones.
void DragOut(cWidgets& widgets, DockPanels&) {
  const float s = widgets.Scale();
  widgets.Queue(PointerEvent(InputKind::ButtonDown, 90 * s, 15 * s, MouseButton::Left));
  widgets.Queue(PointerEvent(InputKind::PointerMove, 300 * s, 100 * s));
  widgets.Queue(PointerEvent(InputKind::PointerMove, 760 * s, 560 * s));
}

// Dropped on the middle of a panel it becomes a tab; another one is left floating over the view.
void MakeTabs(cWidgets& widgets, DockPanels&) {
  for (const auto& [fromX, fromY, toX, toY] : {std::array{90.0f, 15.0f, 960.0f, 250.0f}, {90.0f, 15.0f, 480.0f, 200.0f}}) {
    widgets.Queue(PointerEvent(InputKind::ButtonDown, fromX, fromY, MouseButton::Left));
    widgets.Queue(PointerEvent(InputKind::PointerMove, fromX + 30, fromY + 30));
    widgets.Queue(PointerEvent(InputKind::PointerMove, toX, toY));
    widgets.Queue(PointerEvent(InputKind::ButtonUp, toX, toY, MouseButton::Left));
    widgets.HandleInputEvents();
  }
}

void BrowseFiles(cWidgets& widgets, DockPanels&) {
  FileBrowserRequest request;
  request.What = FileBrowserRequest::Kind::Save;
  request.Title = "SAVE";
  request.FileName = "dragon.obj";
  request.Folder = std::filesystem::current_path().string();
  FileBrowser::Open(widgets, request, {});
}

}  // namespace

int main(int argc, char** argv) {
  FillKeyTable();
  return RunGallery(argc, argv, [](Gallery& gallery) {
    constexpr auto dark = ThemeKind::Dark, light = ThemeKind::Light;
    bool drawn = Draw(gallery, {"panels-drag", dark, 1, 900, 640}, DragOut) &&
                 Draw(gallery, {"panels-tabs", light, 1, 1100, 700}, MakeTabs) &&
                 Draw(gallery, {"panels-files", dark, 1, 1000, 640}, BrowseFiles);
    for (const char* language : {"English", "German"})
      for (const float scale : {1.0f, 1.5f, 2.0f, 3.0f}) {
        const std::string end = comms::Format("-%s-%g", language, double(scale));
        drawn = drawn && Draw(gallery, {"panels-dark" + end, dark, scale, 1100, 760, language}) &&
                Draw(gallery, {"panels-light" + end, light, scale, 640, 480, language});
      }
    return drawn;
  });
}
