// A page of all widgets, in columns under a menu bar.
#include <string>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/ValueTypes.h"
#include "Gallery.h"
#include "comms/One2DCurve.h"
#include "interface/Button.h"
#include "interface/CheckBox.h"
#include "interface/ColorPicker.h"
#include "interface/ComboBox.h"
#include "interface/CurvesWindow.h"
#include "interface/Events.h"
#include "interface/FrameWidget.h"
#include "interface/Layout.h"
#include "interface/MenuBar.h"
#include "interface/MessageBoxWidget.h"
#include "interface/NumberField.h"
#include "interface/ProgressBox.h"
#include "interface/ScrollArea.h"
#include "interface/SimpleSlider.h"
#include "interface/StatusLine.h"
#include "interface/TextEdit.h"
#include "interface/TextMenu.h"
#include "interface/WidgetsFolder.h"
#include "shell/core/KeyTable.h"

namespace {

struct Values {
  bool On = true, Off = false;
  float Strength = 0.35f, Radius = 12.5f, Angle = -45, Focus = 0.004f;
  int Count = 120, Mode = 1, Side = 0;
  uint32_t Tint = 0xFFD98E4A;
  _str Name{"Schädel – head 2"}, Path;
  comms::One2DCurve Curve;
  SliderRange StrengthRange{0, 1, 0.5f}, RadiusRange{0.1f, 1000, 10}, CountRange{1, 400, 100}, AngleRange{-180, 180, 0};
  Enumerator Modes;
};

class Ground : public BaseWidget {
  REFLECTED(Ground, BaseWidget)
 public:
  void Draw(Canvas& canvas) override {
    const Theme& theme = GetTheme();
    canvas.FillRect(Rect, theme.Window);
    for (const BaseWidget* child : Children)
      if (dynamic_cast<const ColumnWidget*>(child) || dynamic_cast<const ScrollArea*>(child))
        canvas.FillRoundRect(child->Rect.Shrunk(-canvas.Px(Measures::Padding)), canvas.Px(6), theme.Panel);
  }
  void Arrange(const cRect& rect, Canvas& canvas) override {
    Rect = rect;
    const float bar = canvas.Px(Measures::MenuBarHeight), foot = canvas.Px(Measures::StatusHeight), gap = canvas.Px(28);
    Children[0]->Arrange({rect.X, rect.Y, rect.W, bar}, canvas);
    Children[1]->Arrange({rect.X, rect.Bottom() - foot, rect.W, foot}, canvas);
    const float width = canvas.Px(250);
    for (int i = 2; i < Children.Count; i++) {
      const float room = rect.H - bar - foot - 2 * gap;
      const float height = i == 4 ? canvas.Px(150) : std::min(room, Children[i]->HeightFor(width, canvas));
      Children[i]->Arrange({rect.X + gap + float(i - 2) * (width + gap), rect.Y + bar + gap, width, height}, canvas);
    }
  }
  cRect PlaceIn(const cRect& screen, Canvas&) override { return screen; }
};
DECLARE_MEMBERS(Ground) {}

void FillFileMenu(TextMenu& menu) {
  menu.Add(
      "New scene", [] {}, "Ctrl+N");
  menu.Add(
      "LOAD", [] {}, "Ctrl+O");
  menu.AddSub("Recent", [](TextMenu& sub) {
    sub.Add("dragon.mvb", [] {})->Literal = true;
    sub.Add("a rather long file name of a head.mvb", [] {})->Literal = true;
  });
  menu.AddLine();
  menu.Add(
          "Symmetry", [] {}, "S")
      ->Checked = true;
  menu.Add("Not now", [] {})->Enabled = false;
  menu.Add(
      "SAVE", [] {}, "Ctrl+Shift+Alt+S");
}

template <class Tag, class M>
SimpleSlider* AddSlider(BaseWidget& owner, const char* label, M& field, SliderRange& range, const char* unit) {
  auto* slider = owner.AddChild(new SimpleSlider(label, Bind<Tag>(field, &range)));
  slider->Unit = unit;
  return slider;
}

void FillFirst(BaseWidget& column, Values& values) {
  auto* title = column.AddChild(new TextWidget("Brush settings"));
  title->Style = TextStyle::Title;
  AddSlider<CtrlFSlider>(column, "Strength", values.Strength, values.StrengthRange, "");
  AddSlider<CtrlFSlider>(column, "Radius", values.Radius, values.RadiusRange, "mm");
  AddSlider<CtrlISlider>(column, "Number of things", values.Count, values.CountRange, "voxels");
  AddSlider<CtrlFSlider>(column, "Angle", values.Angle, values.AngleRange, "°");
  AddSlider<CtrlFSlider>(column, "A label much too long to be shown whole", values.Strength, values.StrengthRange, "");
  AddSlider<CtrlFSlider>(column, "Disabled", values.Strength, values.StrengthRange, "")->Enabled = false;
  column.AddChild(new FrameWidget("Choices"));
  column.AddChild(new ComboBox(Bind<_index>(values.Mode, &values.Modes)));
  column.AddChild(new CheckBox("Depends on pressure", Bind<_bool>(values.On)));
  column.AddChild(new CheckBox("Invert", Bind<_bool>(values.Off)));
  column.AddChild(new CheckBox("Disabled", Bind<_bool>(values.On)))->Enabled = false;
  auto* icons = column.AddChild(new RowWidget);
  for (const char* icon : {"Visible", "Ghost", "Locked"}) icons->AddChild(new IconToggle(icon, "", Bind<_bool>(values.On)));
  icons->AddChild(new IconToggle("Visible", "", Bind<_bool>(values.Off)));
  auto* filler = icons->AddChild(new TextWidget("Icons of a row"));
  filler->Dim = true;
  auto* radios = column.AddChild(new RowWidget);
  for (int i = 0; i < 3; i++) {
    static const char* const names[] = {"Left", "Both", "Right"};
    auto* radio = radios->AddWeighted(new Button(names[i]), 1);
    radio->Form = ButtonForm::Radio;
    radio->Value = Bind<_int>(values.Side);
    radio->RadioValue = i;
  }
  auto* buttons = column.AddChild(new RowWidget);
  buttons->AddWeighted(new Button("Apply"), 1)->Default = true;
  buttons->AddWeighted(new Button("With icon", "Add"), 1);
  buttons->AddChild(new Button("", "Settings"));
  column.AddChild(new Button("Disabled"))->Enabled = false;
}

void FillSecond(BaseWidget& column, Values& values) {
  auto* folder = column.AddChild(new WidgetsFolder("Transform"));
  auto* row = folder->AddChild(new RowWidget);
  for (const char* axis : {"X", "Y", "Z"}) {
    auto* name = row->AddChild(new TextWidget(axis));
    name->Dim = true;
    row->AddWeighted(new NumberField(Bind<_float>(values.Radius)), 1);
  }
  folder->AddChild(new TextEdit(Bind<_str>(values.Name)));
  auto* empty = folder->AddChild(new TextEdit(Bind<_str>(values.Path)));
  empty->Placeholder = "SEARCH";
  empty->Icon = "Search";
  auto* inner = folder->AddChild(new WidgetsFolder("Inner group"));
  inner->AddChild(new NumberField(Bind<_int>(values.Count)))->Unit = "px";
  column.AddChild(new WidgetsFolder("Closed", false))->AddChild(new CheckBox("Invert", Bind<_bool>(values.Off)));
  auto* frame = column.AddChild(new FrameWidget("Frame"));
  auto* note = frame->AddChild(new TextWidget("A note that is longer than its line and breaks, so that nothing of it is lost."));
  note->Wraps = note->Dim = true;
  frame->AddChild(new ColorSwatch(Bind<_color>(values.Tint)));
  column.AddChild(new CurvesWindow(&values.Curve));
}

std::shared_ptr<Values> MakeValues() {
  auto values = std::make_shared<Values>();
  for (const auto& [x, y] : {std::pair{0.0f, 0.05f}, {0.35f, 0.2f}, {0.6f, 0.85f}, {1.0f, 1.0f}}) values->Curve.AddPoint(x, y);
  for (const char* mode : {"Pressure", "Velocity of the pen", "None"}) values->Modes.Add(mode, values->Modes.GetCount());
  return values;
}

Ground& Fill(cWidgets& widgets, Values& values) {
  auto* ground = widgets.Layer(LayerDocks).AddChild(new Ground);
  auto* bar = ground->AddChild(new MenuBar);
  for (const char* title : {"File", "Edit", "View", "Geometry"}) bar->AddMenu(title, FillFileMenu);
  auto* status = ground->AddChild(new StatusLine);
  status->Message = "LMB: sculpt    Shift: smooth    Ctrl: invert";
  status->Fields = {"1 204 337 triangles", "Level 2", "512 MB"};
  FillFirst(*ground->AddChild(new ColumnWidget), values);
  FillSecond(*ground->AddChild(new ColumnWidget), values);
  auto* area = ground->AddChild(new ScrollArea);
  for (int i = 1; i < 14; i++) area->Content().AddChild(new CheckBox("Row " + std::to_string(i), Bind<_bool>(values.On)));
  ground->AddChild(new ColorPicker(Bind<_color>(values.Tint)));
  widgets.Process(1);
  widgets.ArrangeIfWanted();
  return *ground;
}

void OpenFileMenu(cWidgets& widgets, Ground& ground) {
  auto* bar = static_cast<MenuBar*>(ground.Children[0]);
  bar->OpenMenu(0, true);
  for (const int key : {KeyDown, KeyDown, KeyRight}) widgets.Queue(KeyEvent(key));
}

void EditName(cWidgets& widgets, Ground& ground) {
  BaseWidget* edit = ground.Children[3]->Children[0]->Children[1];
  const float x = edit->Rect.X + edit->Rect.W * 0.3f, y = edit->Rect.Y + edit->Rect.H / 2;
  for (const uint8_t clicks : {1, 2})
    for (const InputKind kind : {InputKind::ButtonDown, InputKind::ButtonUp})
      widgets.Queue(PointerEvent(kind, x, y, MouseButton::Left, 0, clicks));
}

void ShowProgress(cWidgets& widgets) {
  auto* box = new ProgressBox;
  box->Title = "Voxelizing";
  box->Value = 0.53;
  box->CanCancel = true;
  widgets.OpenModal(box);
}

}  // namespace

std::shared_ptr<void> MakeWidgetPage(cWidgets& widgets, WidgetPageState state) {
  const std::shared_ptr<Values> values = MakeValues();
  Ground& ground = Fill(widgets, *values);
  if (state == WidgetPageState::Menu) OpenFileMenu(widgets, ground);
  if (state == WidgetPageState::Editing) EditName(widgets, ground);
  if (state == WidgetPageState::Question)
    MessageBoxWidget::Ask(widgets, "SAVE_WORK_CRASH_HDR", "SAVE_WORK_CRASH", {"SAVE", "DISCARD", "CANCEL"}, nullptr);
  if (state == WidgetPageState::Progress) ShowProgress(widgets);
  return values;
}
