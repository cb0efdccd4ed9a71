"""What the bridge does, as a Python program. The first argument is the support folder."""

import fcntl
import json
import os
import sys
import time

LABELS = {"five_hour": "5h", "seven_day": "week"}

support = sys.argv[1]
path = os.path.join(support, "claude-usage.json")
given = json.load(sys.stdin)
folder = os.open(support, os.O_RDONLY)
fcntl.flock(folder, fcntl.LOCK_EX)
try:
    with open(path, encoding="utf-8") as file:
        stored = json.load(file)
except OSError:
    stored = {}
now = time.time()
seen = {
    name: window
    for name, window in (given.get("rate_limits") or {}).items()
    if isinstance(window.get("used_percentage"), (int, float))
}
windows = stored.setdefault("rate_limits", {})
for name, window in seen.items():
    windows[name] = {**window, "seen_at": now}
stored.setdefault("sessions", {})[given["session_id"]] = {"rate_limits": seen, "seen_at": now}
stored["observed_at"] = now
temporary = path + ".tmp"
with open(os.open(temporary, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600), "w") as file:
    json.dump(stored, file)
os.replace(temporary, path)
print(
    " · ".join(
        f"{label} {round(100 - windows[name]['used_percentage'])}% left"
        for name, label in LABELS.items()
        if name in windows and windows[name]["resets_at"] > now
    )
)
