#include "shell/core/Actions.h"

#include <algorithm>

#include "ClassEngine/Assert.h"

Action& Actions::Add(Action action) {
  MORVANE_ASSERT(!action.Name.empty() && action.Run && !Find(action.Name));
  return m_Actions.emplace_back(std::move(action));
}

const Action* Actions::Find(std::string_view name) const {
  const auto found = std::find_if(m_Actions.begin(), m_Actions.end(), [&](const Action& action) { return action.Name == name; });
  return found == m_Actions.end() ? nullptr : &*found;
}

bool Actions::Run(std::string_view name) const {
  const Action* action = Find(name);
  if (!action || !action->Enabled()) return false;
  action->Run();
  return true;
}
