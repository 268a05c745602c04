// The menus of the bar, and what a person keeps under a name: layouts of the panels, presets of a tool.
#include <algorithm>
#include <utility>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Xml.h"
#include "interface/ActionWidgets.h"
#include "interface/Language.h"
#include "interface/MessageBoxWidget.h"
#include "interface/NameBox.h"
#include "interface/TextMenu.h"
#include "shell/app/MainForm.h"
#include "shell/core/FileTitle.h"
#include "shell/core/Pages.h"
#include "shell/core/PresetsManager.h"

// The room's own menus stand behind those for every room's work.
void MainForm::BuildMenus() {
  BasicTool* const room = FindMainTool(CurrentPage);
  m_MenuBar->RemoveMenus();
  AddActionMenu(*m_MenuBar, "FILE", {"NewSphere", "OpenMesh", "ExportScene", "", "QuitProgram"});
  AddActionMenu(*m_MenuBar, "EDIT",
                {"Undo", "Redo", "", "SymmetryX", "SymmetryY", "SymmetryZ", "", "Preferences", "AssignHotKeys"});
  if (room) room->BuildRoomMenu(*m_MenuBar);
  m_MenuBar->AddMenu("VIEW", [this](TextMenu& menu) { FillView(menu); });
  if (room)
    m_MenuBar->AddMenu("POPUPS", [this, room](TextMenu& menu) {
      menu.AddSub(
          "PRESETS", [this](TextMenu& presets) { FillPresets(presets); }, "Brush");
      room->BuildRoomPopups(menu);
    });
  m_MenuBar->AddMenu("PAGES", [](TextMenu& menu) {
    for (const int page : ListAllowedPages()) AddActionItems(menu, {"Page" + GetPageNames()[size_t(page)]});
  });
  m_MenuBar->AddMenu("WINDOWS", [this](TextMenu& menu) { FillWindows(menu); });
  m_Parts.Widgets.RequestArrange();
}

void MainForm::FillView(TextMenu& menu) {
  AddActionItems(menu, {"FrameObject",
                        "FrameScene",
                        "ViewHome",
                        "ZoomIn",
                        "ZoomOut",
                        "",
                        "ViewFront",
                        "ViewBack",
                        "ViewRight",
                        "ViewLeft",
                        "ViewTop",
                        "ViewBottom",
                        "",
                        "RollLeft",
                        "RollRight",
                        "LevelView",
                        "",
                        "ToggleOrthographic",
                        "ShowGrid",
                        "Wireframe",
                        "ShowStillImages",
                        "ShowStatistics",
                        ""});
  TextItem* measure = menu.Add(
      m_MeasureTool.GetToolKey(), [this] { SwitchMeasuring(); },
      m_HotKeys.KeyText(HotKeyTarget{{}, {}, m_MeasureTool.GetToolKey()}), "Segment");
  measure->Checked = m_MeasureTool.IsActive();
  AddActionItems(menu, {"EditPoints", "", "FullScreen", "StoreScreenshot"});
}

void MainForm::FillWindows(TextMenu& menu) {
  for (const DockPanel& panel : m_Docks->All()) {
    if (!IsShownOnPage(GetText(panel.Key), CurrentPage)) continue;
    TextItem* item = menu.Add(
        panel.Key, [this, key = panel.Key] { m_Docks->IsOpen(key) ? m_Docks->Close(key) : m_Docks->Open(key); }, {}, panel.Icon);
    item->Checked = m_Docks->IsOpen(panel.Key);
  }
  menu.AddLine();
  menu.AddSub(
      "LAYOUTS", [this](TextMenu& layouts) { FillLayouts(layouts); }, "Window");
  menu.AddSub(
      "Language", [this](TextMenu& languages) { FillLanguages(languages); }, "Language");
  menu.AddLine();
  AddActionItems(menu, {"ThemeSystem", "ThemeDark", "ThemeLight", "", "ScaleUp", "ScaleDown", "ScaleAutomatic"});
}

// --- what is kept under a name -------------------------------------------------------------------------------------------------

// Each by its own name: who has come to a language by mistake finds the way back.
void MainForm::FillLanguages(TextMenu& menu) {
  ClonesArray<OneLang> languages;
  if (m_Host.ListLanguages) m_Host.ListLanguages(languages);
  const Enumerator& numbers = EnumRegistry::FindOrCreate("Languages");
  for (OneLang* language : languages) {
    const int32_t number = numbers.FindValue(language->Name.Get());
    if (number < 0) continue;  // its file came after the start
    TextItem* item = menu.Add(language->GetDisplayName(language), [this, number] {
      m_Parts.Options.Language = number;
      m_Host.ApplyOptions();
    });
    item->Literal = true;
    item->Checked = number == m_Parts.Options.Language;
  }
}

void MainForm::DoAndSay(const std::function<bool()>& action) {
  ClearStreamError();
  if (action()) return;
  if (LastStreamError == StreamNoFile)
    Say(FillIn(GetText("ATTEMPT_TO_WRITE"), LastStreamFile()), true);
  else
    Say(LastStreamError == StreamShortWrite ? "There is not enough disk" : GetText("NOT_DONE_SEE_LOG"), true);
}

void MainForm::AskName(const char* title, const std::string& name, const std::function<bool(const std::string&)>& exists,
                       const std::function<bool(const std::string&)>& store) {
  NameBox::Ask(m_Parts.Widgets, title, name, [=, this](const std::string& typed, std::string& expected) {
    const std::string chosen = TrimFileTitle(typed);
    if (!IsFileTitle(chosen)) {
      expected = GetText("EXPECTED_TITLE");
      return false;
    }
    const auto keep = [=, this] { DoAndSay([&] { return store(chosen); }); };
    if (!exists(chosen)) {
      keep();
    } else {
      MessageBoxWidget::Ask(m_Parts.Widgets, "REPLACE_HDR", FillIn(GetText("REPLACE_NAMED"), chosen), {"OVERWRITE_YES", "CANCEL"},
                            [keep](int answer) {
                              if (answer == 0) keep();
                            });
    }
    return true;
  });
}

void MainForm::AskToDelete(const std::string& name, std::function<bool()> remove) {
  MessageBoxWidget::Ask(m_Parts.Widgets, "DELETE_HDR", FillIn(GetText("DELETE_NAMED"), name), {"DELETE", "CANCEL"},
                        [this, remove = std::move(remove)](int answer) {
                          if (answer == 0) DoAndSay(remove);
                        });
}

static void AddNamed(TextMenu& menu, const std::vector<std::string>& names, const char* icon,
                     const std::function<void(const std::string&)>& run) {
  for (const std::string& name : names)
    menu.Add(
            name, [run, name] { run(name); }, {}, icon)
        ->Literal = true;
}

void MainForm::FillLayouts(TextMenu& menu) {
  const struct {
    LayoutKind Kind;
    const char *Icon, *Save;
  } kinds[] = {{LayoutKind::OnePage, "Window", "StoreThisPageLayout"}, {LayoutKind::AllPages, "Layers", "StoreAllPagesLayout"}};
  for (const auto& one : kinds) {
    const LayoutKind kind = one.Kind;
    const char* const save = one.Save;
    menu.Add(
        save,
        [this, kind, save] {
          AskName(
              save, {}, [kind](const std::string& name) { return HasPageLayout(kind, name); },
              [this, kind](const std::string& name) {
                return kind == LayoutKind::OnePage ? StoreThisPageLayout(*m_Docks, name) : StoreAllPagesLayout(name);
              });
        },
        {}, "Save");
  }
  menu.AddLine();
  const auto addAll = [kinds](TextMenu& to, const std::function<void(LayoutKind, const std::string&)>& run) {
    for (const auto& one : kinds)
      AddNamed(to, ListPageLayouts(one.Kind), one.Icon, [run, kind = one.Kind](const std::string& name) { run(kind, name); });
  };
  addAll(menu, [this](LayoutKind kind, const std::string& name) {
    DoAndSay([&] { return kind == LayoutKind::OnePage ? RestoreThisPageLayout(*m_Docks, name) : RestoreAllPagesLayout(name); });
  });
  if (!ListPageLayouts(LayoutKind::OnePage).empty() || !ListPageLayouts(LayoutKind::AllPages).empty()) {
    menu.AddLine();
    menu.AddSub("RENAME", [=, this](TextMenu& names) {
      addAll(names, [this](LayoutKind kind, const std::string& name) {
        NameBox::Ask(m_Parts.Widgets, "RENAME", name, [this, kind, name](const std::string& typed, std::string& expected) {
          const std::string chosen = TrimFileTitle(typed);
          if (!IsFileTitle(chosen)) return expected = GetText("EXPECTED_TITLE"), false;
          if (chosen != name && HasPageLayout(kind, chosen)) return expected = GetText("EXPECTED_FREE_NAME"), false;
          DoAndSay([&] { return RenamePageLayout(kind, name, chosen); });
          return true;
        });
      });
    });
    menu.AddSub("DELETE", [=, this](TextMenu& names) {
      addAll(names, [this](LayoutKind kind, const std::string& name) {
        AskToDelete(name, [kind, name] { return DeletePageLayout(kind, name); });
      });
    });
  }
  menu.AddLine();
  AddActionItems(menu, {"ResetThisPageToDefault", "ResetAllPagesToDefault"});
}

// Of the current tool.
void MainForm::FillPresets(TextMenu& menu) {
  BasicTool& tool = GetCurrentTool();
  if (&tool == &GetDefaultTool()) return;
  const std::string className = tool.GetClassName();
  const std::vector<std::string> names = PresetsManager::List(className);
  AddNamed(menu, names, "Brush", [this, &tool](const std::string& name) {
    tool.OnDeactivate();  // what is being drawn ends with the values that it began with
    DoAndSay([&] { return PresetsManager::Load(tool, name); });
  });
  menu.AddLine();
  menu.Add(
      "SAVE_PRESET",
      [=, this, &tool] {
        AskName(
            "SAVE_PRESET", {},
            [className](const std::string& name) {
              const std::vector<std::string> all = PresetsManager::List(className);
              return std::find(all.begin(), all.end(), name) != all.end();
            },
            [&tool](const std::string& name) { return PresetsManager::Save(tool, name); });
      },
      {}, "Save");
  if (!names.empty())
    menu.AddSub("DELETE", [=, this](TextMenu& list) {
      AddNamed(list, names, "Delete", [=, this](const std::string& name) {
        AskToDelete(name, [className, name] { return PresetsManager::Delete(className, name); });
      });
    });
  menu.AddLine();
  menu.Add(
      "START_WITH_THIS", [this, &tool] { DoAndSay([&] { return PresetsManager::Save(tool); }); }, {}, "Pin");
  menu.Add(
      "RESET_TOOL", [this, &tool] { ResetTool(tool); }, {}, "Reset");
}

// As the program brings it, at the next start too.
void MainForm::ResetTool(BasicTool& tool) {
  tool.OnDeactivate();
  PresetsManager::Delete(tool.GetClassName());
  XmlErrorLog errors;
  tool.Load(m_ToolDefaults.at(&tool).get(), &tool, &errors);
}
