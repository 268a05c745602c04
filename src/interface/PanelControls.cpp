// The control of a value, by its type.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string_view>
#include <utility>

#include "ClassEngine/ValueTypes.h"
#include "comms/One2DCurve.h"
#include "interface/Button.h"
#include "interface/CheckBox.h"
#include "interface/ColorPicker.h"
#include "interface/ComboBox.h"
#include "interface/CurvesWindow.h"
#include "interface/DrawTexRect.h"
#include "interface/FileBrowser.h"
#include "interface/FolderRoot.h"
#include "interface/Language.h"
#include "interface/Layout.h"
#include "interface/MessageBoxWidget.h"
#include "interface/NumberField.h"
#include "interface/ObjBrowser.h"
#include "interface/PanelRow.h"
#include "interface/ShowFolder.h"
#include "interface/SimpleSlider.h"
#include "interface/TextEdit.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"

namespace {

// Truth values that are drawn as icons: the name, and the icon while it is off, where that is another one.
constexpr std::pair<std::string_view, std::string_view> IconNames[] = {{"Visible", "Hidden"},  {"Ghost", ""},
                                                                       {"VoxSurf", ""},        {"OpenState", "ClosedState"},
                                                                       {"Locked", "Unlocked"}, {"DependsOnPressure", ""}};

std::string UnitOf(const RowPlace& place) {
  if (!place.Member || place.Member->Help.Unit.empty()) return {};
  const std::string& unit = place.Member->Help.Unit;
  return HasText(unit) ? ::GetText(unit) : unit;
}

BaseWidget* MakeSlider(const RowPlace& place) {
  auto* slider = new SimpleSlider("", place.Value);
  slider->Unit = UnitOf(place);
  slider->ReadOnly = place.ReadOnly;
  return slider;
}

// A range that spans many powers of ten says nothing about a step.
NumberField* MakeField(const RowPlace& place, const ValueBinding& value) {
  auto* field = new NumberField(value);
  field->Unit = UnitOf(place);
  field->ReadOnly = place.ReadOnly;
  field->Step = value.IsWhole() ? 1 : 0.1;
  if (place.Member && place.Member->Help.HasRange) {
    field->MinValue = place.Member->Help.MinValue;
    field->MaxValue = place.Member->Help.MaxValue;
    const double range = field->MaxValue - field->MinValue;
    if (range <= 1000) field->Step = value.IsWhole() ? std::max(1.0, std::round(range / 100)) : range / 100;
  }
  return field;
}

BaseWidget* MakeNumber(const RowPlace& place) { return MakeField(place, place.Value); }

/// Fields side by side; what one tells, the line tells.
class FieldLine : public RowWidget {
  REFLECTED(FieldLine, RowWidget)
 public:
  void Add(BaseWidget* field) {
    AddWeighted(field, 1)->Callback = std::make_unique<wpcallback<FieldLine>>(this, &FieldLine::Pass);
  }
  bool Pass(BaseWidget*, const WidgetEvent& event) { return Tell(event.Kind, event.Input); }
};
DECLARE_MEMBERS(FieldLine) {}

// Several numbers behind one another in memory, each in a field.
template <class Tag, int Count>
BaseWidget* MakeNumbers(const RowPlace& place) {
  auto* line = new FieldLine;
  for (int i = 0; i < Count; i++) {
    ValueBinding part{EnsureTypeObject<Tag>(), static_cast<char*>(place.Value.Data) + 4 * i, nullptr};
    auto* field = MakeField(place, part);
    field->Unit.clear();
    line->Add(field);
  }
  return line;
}

BaseWidget* MakeBool(const RowPlace& place) {
  const std::string& name = place.Signs.Name.empty() ? place.FullName : place.Signs.Name;
  for (const auto& [on, off] : IconNames)
    if (name == on) {
      auto* icon = new IconToggle(on, off, place.Value);
      icon->ReadOnly = place.ReadOnly;
      return icon;
    }
  auto* box = new CheckBox(place.Signs.Compact && !place.Signs.NoLabel ? place.Signs.Name : "", place.Value);
  box->ReadOnly = place.ReadOnly;
  return box;
}

BaseWidget* MakeIndex(const RowPlace& place) {
  auto* box = new ComboBox(place.Value);
  box->ReadOnly = place.ReadOnly;
  return box;
}

BaseWidget* MakeColor(const RowPlace& place) {
  auto* swatch = new ColorSwatch(place.Value);
  swatch->Enabled = !place.ReadOnly;
  return swatch;
}

BaseWidget* MakeHex(const RowPlace& place) {
  auto* edit = new TextEdit(place.Value);
  edit->ReadOnly = place.ReadOnly;
  return edit;
}

// --- files -------------------------------------------------------------------------------------------------------------------

constexpr std::string_view ImagePatterns = "*.png;*.jpg;*.tga;*.bmp;*.dds;*.tif";

// A name such as "Texture|*.png;*.tga" says which files its text may name; so do the types of file names.
std::vector<std::string> PatternsOf(const RowPlace& place) {
  static const std::pair<std::string_view, std::string_view> byType[] = {
      {"_cImageFile", ImagePatterns}, {"_cSoundFile", "*.wav;*.ogg"}, {"_cModelFile", "*.obj;*.ply;*.stl"},
      {"_cAnimFile", "*.xml"},        {"_cCameraFile", "*.xml"},      {"_cBspFile", "*.bsp"},
      {"_cXmlFile", "*.xml"}};
  std::string_view list;
  if (const size_t at = place.FullName.find("|*"); at != std::string::npos)
    list = std::string_view(place.FullName).substr(at + 1);
  for (const auto& [type, patterns] : byType)
    if (list.empty() && place.Value.Type->GetClassName() == type) list = patterns;
  return SplitPatterns(list);
}

/// A text that names a file, with the buttons for it.
class FileLine : public FieldLine {
  REFLECTED(FileLine, FieldLine)
 public:
  void Choose(const ValueBinding& value, const std::vector<std::string>& patterns) {
    cWidgets* manager = Manager();
    if (!manager) return;
    FileBrowserRequest request;
    request.Title = "OPEN_FILE";
    request.Folder = std::filesystem::path(value.GetText()).parent_path().string();
    request.Patterns = patterns;
    // The panel may be built anew while the box is open.
    FileBrowser::Open(*manager, request, [this, value, alive = std::weak_ptr<int>(m_Alive)](const std::string& path) {
      if (path.empty() || alive.expired()) return;
      std::string expected;
      if (value.SetText(path, expected))
        Tell(WidgetEventKind::ChangeDone);
      else if (cWidgets* widgets = Manager())
        MessageBoxWidget::Ask(*widgets, "OPEN_FILE", path + "\n" + ::GetText("EXPECTED") + " " + expected, {}, nullptr);
    });
  }

 private:
  std::shared_ptr<int> m_Alive = std::make_shared<int>();
};
DECLARE_MEMBERS(FileLine) {}

BaseWidget* MakeText(const RowPlace& place) {
  if (const auto choices = place.Member ? place.Member->Help.Choices : nullptr) {
    auto* box = new ComboBox(place.Value, {});
    box->ListTexts = [choices, owner = place.Owner] { return choices(*owner); };
    box->ReadOnly = place.ReadOnly;
    return box;
  }
  auto* edit = new TextEdit(place.Value);
  edit->ReadOnly = place.ReadOnly;
  const std::vector<std::string> patterns = PatternsOf(place);
  if (patterns.empty()) return edit;
  auto* line = new FileLine;
  line->Add(edit);
  auto* open = line->AddChild(new Button("", "File"));
  open->HintKey = "OPEN_FILE";
  open->Enabled = !place.ReadOnly;
  open->Action = [line, value = place.Value, patterns] { line->Choose(value, patterns); };
  auto* folder = line->AddChild(new Button("", "Folder"));
  folder->HintKey = "OPEN_CONTAINING_FOLDER";
  folder->Action = [value = place.Value] { ShowFolderOf(value.GetText()); };
  return line;
}

// --- the rest ----------------------------------------------------------------------------------------------------------------

/// A texture: a press chooses another picture, the right button and the one beside it take it away.
class TextureLine : public FileLine {
  REFLECTED(TextureLine, FileLine)
 public:
  TextureLine() = default;
  explicit TextureLine(const RowPlace& place) : m_Value(place.Value) {
    m_Picture = AddWeighted(new DrawTexRect, 1);
    m_Picture->Framed = true;
    m_Picture->Icon = "Material";
    m_Picture->Height = 48;
    m_Picture->Aspect = 1;
    m_Picture->Enabled = !place.ReadOnly;
    m_Picture->Callback = std::make_unique<wpcallback<TextureLine>>(this, &TextureLine::OnPicture);
    m_Clear = AddChild(new Button("", "Close"));
    m_Clear->HintKey = "CLEAR_TEXTURE";
    m_Clear->Enabled = !place.ReadOnly;
    m_Clear->Action = [this] { Clear(); };
  }
  void Arrange(const cRect& rect, Canvas& canvas) override {
    FileLine::Arrange(rect, canvas);
    if (m_Clear) m_Clear->Arrange({m_Clear->Rect.X, rect.Y, m_Clear->Rect.W, std::min(rect.H, RowHeight(canvas))}, canvas);
  }
  void Draw(Canvas&) override {
    if (m_Picture) m_Picture->Texture = Texture();
  }

 private:
  int32_t& Texture() const { return *static_cast<int32_t*>(m_Value.Data); }
  void Clear() {
    if (std::exchange(Texture(), -1) != -1) Tell(WidgetEventKind::ChangeDone);
  }
  bool OnPicture(BaseWidget*, const WidgetEvent& event) {
    if (event.Input && event.Input->Button == MouseButton::Right)
      Clear();
    else
      Choose(m_Value, SplitPatterns(ImagePatterns));
    return true;
  }
  ValueBinding m_Value;
  DrawTexRect* m_Picture = nullptr;
  Button* m_Clear = nullptr;
};
DECLARE_MEMBERS(TextureLine) {}

BaseWidget* MakeTexture(const RowPlace& place) { return new TextureLine(place); }

/// A font by its name, in its own looks.
class FontBox : public ComboBox {
  REFLECTED(FontBox, ComboBox)
 public:
  FontBox() = default;
  explicit FontBox(const ValueBinding& value) : ComboBox(value, {GetFontNames().begin(), GetFontNames().end()}) {}

 protected:
  TextStyle StyleOf(const std::string& name) const override { return FindFont(name); }
};
DECLARE_MEMBERS(FontBox) {}

BaseWidget* MakeFont(const RowPlace& place) {
  auto* box = new FontBox(place.Value);
  box->ReadOnly = place.ReadOnly;
  return box;
}

BaseWidget* MakeCurve(const RowPlace& place) {
  auto* window = new CurvesWindow(dynamic_cast<comms::One2DCurve*>(static_cast<BaseClass*>(place.Value.Data)));
  window->Enabled = !place.ReadOnly;
  return window;
}

BaseWidget* MakeFolderTree(const RowPlace& place) {
  auto* root = dynamic_cast<FolderRoot*>(static_cast<BaseClass*>(place.Value.Data));
  if (!root) return nullptr;
  auto* tree = new FolderTree(*root);
  tree->Enabled = !place.ReadOnly;
  return tree;
}

// The member is a browser itself; the row shows the same tree.
BaseWidget* MakeBrowser(const RowPlace& place) {
  const auto* browser = dynamic_cast<ObjBrowser*>(static_cast<BaseClass*>(place.Value.Data));
  return browser ? new ObjBrowser(browser->Model()) : nullptr;
}

using Maker = BaseWidget* (*)(const RowPlace&);
const std::pair<std::string_view, Maker> Makers[] = {
    {"CtrlFSlider", MakeSlider},
    {"CtrlISlider", MakeSlider},
    {"_cSliderI", MakeSlider},
    {"_cSliderF", MakeSlider},
    {"_cEditSliderI", MakeSlider},
    {"_cEditSliderF", MakeSlider},
    {"_cSliderRangedI", MakeSlider},
    {"_cSliderRangedF", MakeSlider},
    {"_float", MakeNumber},
    {"_int", MakeNumber},
    {"_cFloat", MakeNumber},
    {"_cInt", MakeNumber},
    {"_BYTE", MakeNumber},
    {"_char", MakeNumber},
    {"_short", MakeNumber},
    {"_WORD", MakeNumber},
    {"_cFloat2", MakeNumbers<_float, 2>},
    {"_cFloat3", MakeNumbers<_float, 3>},
    {"_cFloat4", MakeNumbers<_float, 4>},
    {"_cVec2i", MakeNumbers<_int, 2>},
    {"_cVec3i", MakeNumbers<_int, 3>},
    {"_bool", MakeBool},
    {"_cBool", MakeBool},
    {"_index", MakeIndex},
    {"_cIndex", MakeIndex},
    {"_color", MakeColor},
    {"_cColor", MakeColor},
    {"_DWORD", MakeHex},
    {"_TextureID", MakeTexture},
    {"_cImageID", MakeTexture},
    {"_WinFont", MakeFont},
    {"One2DCurve", MakeCurve},
    {"FolderRoot", MakeFolderTree},
    {"ObjBrowser", MakeBrowser},
    {"_str", MakeText},
    {"_str_ref", MakeText},
    {"_cStr", MakeText},
    {"_cBind", MakeText},
    {"_cImageFile", MakeText},
    {"_cSoundFile", MakeText},
    {"_cModelFile", MakeText},
    {"_cAnimFile", MakeText},
    {"_cCameraFile", MakeText},
    {"_cBspFile", MakeText},
    {"_cXmlFile", MakeText},
};

}  // namespace

BaseWidget* MakeRowControl(const RowPlace& place) {
  const std::string_view type = place.Value.Type->GetClassName();
  for (const auto& [name, maker] : Makers)
    if (name == type) return place.Value.Data ? maker(place) : nullptr;
  return nullptr;
}
