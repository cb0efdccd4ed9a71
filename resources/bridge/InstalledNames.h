#pragma once

/// The files of the support folder that the bridge knows.
namespace InstalledName {

constexpr auto bridge = "vexlo-claude-bridge";
constexpr auto olderBridge = "claude_bridge.py";
constexpr auto snapshot = "claude-usage.json";
constexpr auto previousStatusLine = "previous-statusline.json";

} // namespace InstalledName
