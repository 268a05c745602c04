// The menus of the bar, and what a person keeps under a name: layouts of the panels, presets of a tool.
#include <algorithm>
#include <utility>

#include "ClassEngine/Xml.h"
#include "interface/Language.h"
#include "interface/MessageBoxWidget.h"
#include "interface/NameBox.h"
#include "interface/TextMenu.h"
#include "shell/app/MainForm.h"
#include "shell/core/FileTitle.h"
#include "shell/core/Pages.h"
#include "shell/core/PresetsManager.h"

void MainForm::AddToMenu(TextMenu& menu, const std::string& name) {
  const Action* action = m_Actions.Find(name);
  TextItem* item = menu.Add(action->TextKey, action->Run, m_HotKeys.KeyText(action->Name), action->Icon);
  if (action->Text) {
    item->Text = action->Text();
    item->Literal = true;
    item->HintKey = action->TextKey;
  }
  item->Enabled = action->Enabled();
  item->Checked = action->Checked();
}

void MainForm::BuildMenus() {
  const auto addMenu = [this](const std::string& title, std::function<void(TextMenu&)> fill) {
    if (IsShownOnPage(title, CurrentPage)) m_MenuBar->AddMenu(StripPageTags(title), std::move(fill));
  };
  // An empty name stands for a line.
  const auto addActions = [&](const std::string& title, std::vector<const char*> actions) {
    addMenu(title, [this, actions = std::move(actions)](TextMenu& menu) {
      for (const char* name : actions)
        if (*name)
          AddToMenu(menu, name);
        else
          menu.AddLine();
    });
  };
  m_MenuBar->RemoveMenus();
  addActions("FILE", {"NewSphere", "OpenMesh", "ExportScene", "", "QuitProgram"});
  addActions("EDIT", {"Undo", "Redo", "", "SymmetryX", "SymmetryY", "SymmetryZ", "", "Preferences", "AssignHotKeys"});
  addMenu("VOXMENU[Page0]", [this](TextMenu& menu) {
    for (const char* name : {"BrushCarve", "BrushSphere", "BrushSegment", "BrushStamp"}) AddToMenu(menu, name);
    menu.AddLine();
    menu.AddSub(
        "PRESETS", [this](TextMenu& presets) { FillPresets(presets); }, "Brush");
  });
  addActions("VIEW", {"FrameObject",
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
                      "ToggleOrthographic",
                      "ShowGrid",
                      "Wireframe",
                      "ShowStatistics",
                      "",
                      "FullScreen",
                      "StoreScreenshot"});
  addMenu("PAGES", [this](TextMenu& menu) {
    for (const int page : ListAllowedPages()) AddToMenu(menu, "Page" + GetPageNames()[size_t(page)]);
  });
  addMenu("WINDOWS", [this](TextMenu& menu) {
    for (const DockPanel& panel : m_Docks->All()) {
      TextItem* item = menu.Add(
          panel.Key, [this, key = panel.Key] { m_Docks->IsOpen(key) ? m_Docks->Close(key) : m_Docks->Open(key); }, {},
          panel.Icon);
      item->Checked = m_Docks->IsOpen(panel.Key);
    }
    menu.AddLine();
    menu.AddSub(
        "LAYOUTS", [this](TextMenu& layouts) { FillLayouts(layouts); }, "Window");
    menu.AddLine();
    for (const char* name : {"ThemeSystem", "ThemeDark", "ThemeLight"}) AddToMenu(menu, name);
    menu.AddLine();
    for (const char* name : {"ScaleUp", "ScaleDown", "ScaleAutomatic"}) AddToMenu(menu, name);
  });
  m_Parts.Widgets.RequestArrange();
}

// --- what is kept under a name -------------------------------------------------------------------------------------------------

void MainForm::SayWhetherDone(bool done) {
  if (!done) Say(GetText("NOT_DONE_SEE_LOG"), true);
}

void MainForm::AskName(const char* title, const std::string& name, const std::function<bool(const std::string&)>& exists,
                       const std::function<bool(const std::string&)>& store) {
  NameBox::Ask(m_Parts.Widgets, title, name, [=, this](const std::string& chosen, std::string& expected) {
    if (!IsFileTitle(chosen)) {
      expected = GetText("EXPECTED_TITLE");
      return false;
    }
    const auto keep = [=, this] { SayWhetherDone(store(chosen)); };
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
                          if (answer == 0) SayWhetherDone(remove());
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
    SayWhetherDone(kind == LayoutKind::OnePage ? RestoreThisPageLayout(*m_Docks, name) : RestoreAllPagesLayout(name));
  });
  if (!ListPageLayouts(LayoutKind::OnePage).empty() || !ListPageLayouts(LayoutKind::AllPages).empty()) {
    menu.AddLine();
    menu.AddSub("RENAME", [=, this](TextMenu& names) {
      addAll(names, [this](LayoutKind kind, const std::string& name) {
        NameBox::Ask(m_Parts.Widgets, "RENAME", name, [this, kind, name](const std::string& chosen, std::string& expected) {
          if (!IsFileTitle(chosen)) return expected = GetText("EXPECTED_TITLE"), false;
          if (chosen != name && HasPageLayout(kind, chosen)) return expected = GetText("EXPECTED_FREE_NAME"), false;
          SayWhetherDone(RenamePageLayout(kind, name, chosen));
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
  for (const char* name : {"ResetThisPageToDefault", "ResetAllPagesToDefault"}) AddToMenu(menu, name);
}

void MainForm::FillPresets(TextMenu& menu) {
  const std::string className = m_VoxelTool.GetClassName();
  const std::vector<std::string> names = PresetsManager::List(className);
  AddNamed(menu, names, "Brush", [this](const std::string& name) { LoadPreset(name); });
  menu.AddLine();
  menu.Add(
      "SAVE_PRESET",
      [=, this] {
        AskName(
            "SAVE_PRESET", {},
            [className](const std::string& name) {
              const std::vector<std::string> all = PresetsManager::List(className);
              return std::find(all.begin(), all.end(), name) != all.end();
            },
            [this](const std::string& name) { return PresetsManager::Save(m_VoxelTool, name); });
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
      "START_WITH_THIS", [this] { SayWhetherDone(PresetsManager::Save(m_VoxelTool)); }, {}, "Pin");
  menu.Add(
      "RESET_TOOL", [this] { ResetTool(); }, {}, "Reset");
}

void MainForm::LoadPreset(const std::string& name) {
  m_VoxelTool.FinishStroke();
  SayWhetherDone(PresetsManager::Load(m_VoxelTool, name));
}

// As the program brings it, at the next start too.
void MainForm::ResetTool() {
  m_VoxelTool.FinishStroke();
  PresetsManager::Delete(m_VoxelTool.GetClassName());
  VoxelSculptTool fresh;
  fresh.RegisterMembers();
  XmlNode node;
  fresh.Save(&node, &fresh);
  XmlErrorLog errors;
  m_VoxelTool.Load(&node, &m_VoxelTool, &errors);
}
