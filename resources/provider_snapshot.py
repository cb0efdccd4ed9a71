#!/usr/bin/python3
"""Prints how much of one AI provider's allowance is used, and keeps its snapshot file current.

    provider_snapshot.py openrouter|zai|ollama|copilot [--key-stdin]

One JSON object goes to standard output: "observed_at" (seconds since 1970 UTC), "windows" (each
with "name", "used_percent" from 0 to 100 and, when known, "resets_at"), and "error" when there is
something to tell the user. The exit status is 2 for unknown arguments and 0 otherwise. Python 3.9
or newer and its standard library are enough.

The key comes from standard input (Copilot's also from gh) and goes to the provider's own host over
TLS, nowhere else. No text is made from an exception or an address: those may contain it.

Environment: VEXLO_SUPPORT_DIR, the folder of the snapshot file; VEXLO_TIMEOUT, a shorter limit for
the whole run in seconds; VEXLO_OPENROUTER_URL, VEXLO_ZAI_URL, VEXLO_OLLAMA_URL, VEXLO_GITHUB_URL,
another origin to ask, on this machine only.
"""

import contextlib
import http.client
import json
import math
import os
import re
import shutil
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import urllib.error
import urllib.request
from datetime import datetime, timedelta, timezone
from typing import Callable, NamedTuple, Optional

USER_AGENT = "Vexlo/0.1.0"

WHOLE_RUN = 25.0  # seconds, as all of these
ONE_OPERATION = 10.0  # connecting, or waiting for the next bytes
GH_SHARE = 0.2  # of the whole run, for a gh that waits for a locked keyring
LARGEST_ANSWER = 1 << 20  # bytes
LARGEST_INPUT = 8 << 10
LATEST_TIME = 8.64e12  # seconds since 1970; what calendars can show

KEY = re.compile(rb"[!-~]{1,4096}")
LOOPBACK_ORIGIN = re.compile(r"https?://(127\.0\.0\.1|localhost|\[::1\])(:[0-9]{1,5})?/?")
DATE = re.compile(
    r"(\d{4}-\d\d-\d\d)(?:[T ](\d\d:\d\d(?::\d\d)?)(?:\.\d+)?(Z|[+-]\d\d:\d\d)?)?", re.ASCII
)


class Outcome(NamedTuple):
    """What a run found out. Without windows, `replaces` says whether saved ones no longer hold."""

    windows: list
    error: Optional[str] = None
    replaces: bool = True


class Failure(Exception):
    """Ends a read with a text for the user. See Outcome for `replaces`."""

    def __init__(self, error, replaces=False):
        super().__init__(error)
        self.outcome = Outcome([], error, replaces)


class Answer(NamedTuple):
    status: int
    headers: http.client.HTTPMessage
    document: object  # None when the body is too large or no JSON


class Provider(NamedTuple):
    name: str  # the service, in texts
    product: str  # whose usage it is, in texts
    file: str
    origin: str
    override: str  # the variable that names another origin
    read: Callable  # a generator of outcomes; the last one counts
    no_key: str
    refusals: dict  # the texts of HTTP statuses that ask for the user
    key_prefix: str = "Bearer "
    headers: dict = {}
    known_failure: Callable = lambda document: None  # a Failure told inside the answer
    other_key: Callable = lambda provider, seconds: b""  # asked when no key was given

    @property
    def unreachable(self):
        return Failure(f"Can't reach {self.name}")

    @property
    def unreadable(self):
        return Failure(f"Could not read {self.product} usage")


# Values out of answers. What has another type than expected counts as absent.


def parsed(body):
    """The JSON value in `body`; None when there is none.

    Every number becomes a float: converting a whole one with a million digits would take minutes.
    """
    if len(body) > LARGEST_ANSWER:
        return None
    try:
        return json.loads(body, parse_int=float, parse_constant=lambda name: None)
    except (ValueError, RecursionError):
        return None


def member(container, key):
    """The object under `key`, an empty one when there is none."""
    value = container.get(key) if isinstance(container, dict) else None
    return value if isinstance(value, dict) else {}


def number(value):
    return value if isinstance(value, float) and math.isfinite(value) else None


def amount(value):
    """A number that may be written as a text."""
    try:
        return number(float(value) if isinstance(value, str) else value)
    except ValueError:
        return None


def moment(text):
    """Seconds since 1970 of an ISO date, with or without a time; UTC unless it names a zone.

    Before Python 3.11 the library reads neither "Z" nor every number of decimals.
    """
    match = DATE.fullmatch(text) if isinstance(text, str) else None
    if match is None:
        return None
    day, clock, zone = match.groups()
    offset = zone if zone and zone != "Z" else "+00:00"
    try:
        return datetime.fromisoformat(f"{day}T{clock or '00:00'}{offset}").timestamp()
    except ValueError:
        return None


def next_reset(period, now):
    """When a "daily", "weekly" (from Monday) or "monthly" period ends, in UTC; None for others."""
    moment_now = datetime.fromtimestamp(now, timezone.utc)
    today = moment_now.replace(hour=0, minute=0, second=0, microsecond=0)
    if period == "daily":
        return (today + timedelta(days=1)).timestamp()
    if period == "weekly":
        return (today + timedelta(days=7 - today.weekday())).timestamp()
    if period == "monthly":
        return (today.replace(day=1) + timedelta(days=32)).replace(day=1).timestamp()
    return None


def share(part, whole):
    """`part` in percent of `whole`; None without a positive whole."""
    return None if part is None or whole is None or whole <= 0 else 100 * part / whole


def used_share(left, whole=100.0):
    """What is gone, in percent of `whole`, when `left` is left of it."""
    return None if left is None or whole is None else share(whole - left, whole)


def windows_of(*rows):
    """The windows of (name, used percent, reset) rows, without those whose share is not known."""
    windows = []
    for name, used, reset in rows:
        if used is None:
            continue
        window = {"name": name, "used_percent": min(max(0.0, used), 100.0)}
        if reset is not None and 0 < reset <= LATEST_TIME:
            window["resets_at"] = int(reset) if reset.is_integer() else reset
        windows.append(window)
    return windows


# The providers. A reader gets `ask`, which turns a path into a document or fails, and the time.


def read_openrouter(ask, provider, now):
    """The key's own cap and the free requests of the day; for a management key also the account.

    "limit_remaining" belongs to the current reset period, while "usage" counts the key's whole
    life. "/credits" answers management keys alone. Source: OpenRouter's API reference (limits,
    current key, credits); "free_model_daily_requests" came later and may be absent.
    """
    data = member(ask("/api/v1/key"), "data")
    if "limit" not in data:
        raise provider.unreadable
    cap, remaining = number(data["limit"]), number(data.get("limit_remaining"))
    used = 100.0 if cap == 0 and remaining is not None else used_share(remaining, cap)
    free = member(data, "free_model_daily_requests")
    free_used = share(number(free.get("used")), number(free.get("limit")))
    windows = windows_of(
        ("Key credit", used, next_reset(data.get("limit_reset"), now)),
        ("Free daily", free_used, next_reset("daily", now)),
    )
    yield Outcome(windows)
    if data.get("is_management_key") is not True:
        return
    try:
        account = member(ask("/api/v1/credits"), "data")
    except Failure:
        return
    used = share(number(account.get("total_usage")), number(account.get("total_credits")))
    yield Outcome(windows + windows_of(("Credits", used, None)))


def zai_code(document):
    """The code inside an answer; it stands in one of two places, as a number or a text."""
    outer = document if isinstance(document, dict) else {}
    return amount(outer.get("code", member(outer, "error").get("code")))


def zai_failure(document):
    """Z.ai tells failures inside answers of any HTTP status. Source: its table of error codes."""
    code = zai_code(document)
    if code in (1000, 1001, 1002, 1003, 1004):
        return Failure("Z.ai rejected the API key", replaces=True)
    if code == 1309:
        return Failure("Z.ai plan expired", replaces=True)
    if code in (1302, 1303, 1305, 1308, 1310):
        return Failure("Z.ai is limiting requests")
    return None


def zai_label(limit):
    """The window that an entry of the quota belongs to; None for one that is not shown.

    The quota of tool calls (TIME_LIMIT) is left out: used up, it does not end the coding. Older
    answers name neither unit nor number.
    """
    if limit.get("type") not in ("TOKENS_LIMIT", "CREDIT_LIMIT"):
        return None
    unit, count = limit.get("unit"), limit.get("number")
    if (unit is None and count is None) or (unit == 3 and count == 5):
        return "5-hour"
    return "Weekly" if unit == 6 else None


def read_zai(ask, provider, now):
    """The quota of the coding plan; the first usable entry of a window counts.

    "usage" is the cap and "currentValue" what is used of it; "nextResetTime" is in milliseconds.
    Source: the query that zai-org/zai-coding-plugins makes; it is not in the API reference.
    """
    document = ask("/api/monitor/usage/quota/limit")
    limits = member(document, "data").get("limits")
    failed = document.get("success") is False or zai_code(document) not in (None, 200)
    if failed or not isinstance(limits, list):
        raise provider.unreadable
    found = {}
    for limit in limits:
        label = zai_label(limit) if isinstance(limit, dict) else None
        if label is None:
            continue
        used = number(limit.get("percentage"))
        if used is None:
            used = share(number(limit.get("currentValue")), number(limit.get("usage")))
        reset = number(limit.get("nextResetTime"))
        for window in windows_of((label, used, None if reset is None else reset / 1000)):
            found.setdefault(label, window)
    yield Outcome([found[label] for label in ("5-hour", "Weekly") if label in found])


def read_ollama(ask, provider, now):
    """Shares left of a session and a week (older plans) or dollars left of a month's allowance.

    Without either the account pays as it goes. Source: the balance operation in ollama/ollama's
    documentation; it allows ten requests a minute.
    """
    document = ask("/api/balance")
    if not {"included", "purchased"} & document.keys():
        raise provider.unreadable
    included = member(document, "included")
    session, weekly = member(included, "session"), member(included, "weekly")
    session_used = used_share(number(session.get("remaining_percent")))
    weekly_used = used_share(number(weekly.get("remaining_percent")))
    monthly_used = used_share(
        number(included.get("balance_usd")), number(included.get("allowance_usd"))
    )
    windows = windows_of(
        ("Session", session_used, moment(session.get("resets_at"))),
        ("Weekly", weekly_used, moment(weekly.get("resets_at"))),
        ("Monthly", monthly_used, moment(member(included, "period").get("until"))),
    )
    credit = number(member(document, "purchased").get("balance_usd"))
    pays_as_it_goes = not windows and credit is not None and 0 <= credit < 1e9
    yield Outcome(windows, f"Pay as you go: ${credit:.2f} credit left" if pays_as_it_goes else None)


def copilot_used(quota):
    """The used share of a category; None when it has no cap, is not allotted or does not tell."""
    if quota.get("unlimited") is True or amount(quota.get("entitlement")) in (0, -1):
        return None
    return used_share(number(quota.get("percent_remaining")))


def read_copilot(ask, provider, now):
    """The quota of each category; the free plan's old answer tells allotted and left requests.

    "percent_remaining" may leave 0 to 100 and "entitlement" may be a text. Source: the types in
    github/copilot-sdk and what microsoft/vscode reads; the operation is not in the API reference.
    """
    document = ask("/copilot_internal/user")
    if not {"quota_snapshots", "limited_user_quotas", "copilot_plan"} & document.keys():
        raise provider.unreadable
    quotas = member(document, "quota_snapshots")
    old_caps, old_left = member(document, "monthly_quotas"), member(document, "limited_user_quotas")
    premium = member(quotas, "premium_interactions")
    by_credits = True in (document.get("token_based_billing"), premium.get("token_based_billing"))
    dates = ("quota_reset_date_utc", "quota_reset_date", "limited_user_reset_date")
    account_reset = next(filter(None, (moment(document.get(date)) for date in dates)), None)
    rows = []
    for category, label in (
        ("premium_interactions", "Credits" if by_credits else "Premium"),
        ("chat", "Chat"),
        ("completions", "Completions"),
    ):
        quota = member(quotas, category)
        used = copilot_used(quota)
        if category not in quotas:
            used = used_share(number(old_left.get(category)), number(old_caps.get(category)))
        rows.append((label, used, number(quota.get("quota_reset_at")) or account_reset))
    yield Outcome(windows_of(*rows))


def gh_token(provider, seconds):
    """What GitHub's own program is logged in with; empty when it is not, or is not installed."""
    # A program that the desktop starts may have a short PATH.
    folders = [*os.get_exec_path(), os.path.expanduser("~/.local/bin"), "/usr/local/bin",
               "/usr/bin", "/snap/bin"]
    gh = shutil.which("gh", path=os.pathsep.join(filter(os.path.isabs, folders)))
    if gh is None:
        return b""
    try:
        # In this process's group, so that whoever ends the group ends it too.
        run = subprocess.run([gh, "auth", "token", "--hostname", "github.com"], timeout=seconds,
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL)
    except subprocess.TimeoutExpired:
        raise Failure(provider.no_key) from None  # nothing is known: older limits may hold
    except OSError:
        return b""
    return run.stdout if run.returncode == 0 else b""


PROVIDERS = {
    "openrouter": Provider(
        name="OpenRouter", product="OpenRouter", file="openrouter-usage.json",
        origin="https://openrouter.ai", override="VEXLO_OPENROUTER_URL",
        no_key="Add an OpenRouter API key in Settings",
        refusals=dict.fromkeys((401, 403), "OpenRouter rejected the API key"),
        read=read_openrouter),
    "zai": Provider(
        name="Z.ai", product="Z.ai", file="zai-usage.json",
        origin="https://api.z.ai", override="VEXLO_ZAI_URL",
        key_prefix="",
        headers={"Accept-Language": "en-US,en", "Content-Type": "application/json"},
        no_key="Add a Z.ai API key in Settings",
        refusals=dict.fromkeys((401, 403), "Z.ai rejected the API key"),
        read=read_zai, known_failure=zai_failure),
    "ollama": Provider(
        name="Ollama", product="Ollama", file="ollama-usage.json",
        origin="https://ollama.com", override="VEXLO_OLLAMA_URL",
        no_key="Add an Ollama API key in Settings",
        refusals={401: "Ollama rejected the API key", 403: "Ollama account suspended"},
        read=read_ollama),
    "copilot": Provider(
        name="GitHub", product="Copilot", file="copilot-usage.json",
        origin="https://api.github.com", override="VEXLO_GITHUB_URL",
        no_key="Add a GitHub token in Settings or run: gh auth login",
        # 404: it hides the operation from tokens that lack a permission.
        refusals={401: "GitHub rejected the token. Run: gh auth login",
                  **dict.fromkeys((403, 404), "This GitHub token can't read Copilot usage")},
        read=read_copilot, other_key=gh_token),
}


# One question: the key, the place, the request.


def provider_key(provider, from_input, run_limit):
    """The key to use.

    Only visible ASCII goes into a header: for anything else the library's error would quote it.
    """
    key = sys.stdin.buffer.read(LARGEST_INPUT + 1).strip() if from_input else b""
    key = key or provider.other_key(provider, run_limit * GH_SHARE).strip()
    if not key:
        raise Failure(provider.no_key, replaces=True)
    if not KEY.fullmatch(key):
        raise Failure(provider.refusals[401], replaces=True)
    return key.decode("ascii")


def origin_of(provider):
    """Where to ask, and whether that is on this machine.

    A planted or mistyped override fails: neither may it get the key, nor may a test reach out.
    """
    override = os.environ.get(provider.override)
    if override is None:
        return provider.origin, False
    if not LOOPBACK_ORIGIN.fullmatch(override):
        raise provider.unreadable
    return override.rstrip("/"), True


def plain_opener(is_local):
    """An opener that follows no redirect: the library would repeat the key to any host."""
    os.environ.pop("SSLKEYLOGFILE", None)  # would write down what decrypts the connection
    context = ssl.create_default_context()
    context.minimum_version = ssl.TLSVersion.TLSv1_2
    opener = urllib.request.OpenerDirector()
    for handler in (
        urllib.request.ProxyHandler({} if is_local else None),
        urllib.request.HTTPHandler(),
        urllib.request.HTTPSHandler(context=context),
        urllib.request.HTTPDefaultErrorHandler(),
        urllib.request.HTTPErrorProcessor(),
    ):
        opener.add_handler(handler)
    return opener


def fetch(opener, request, seconds):
    """The server's answer, whatever its status."""
    try:
        response = opener.open(request, timeout=seconds)
    except urllib.error.HTTPError as error:
        response = error
    with response:
        return Answer(response.status, response.headers, parsed(response.read(LARGEST_ANSWER + 1)))


def refusal(provider, answer):
    """What an answer's status says against using it; None for one to be used."""
    status, headers = answer.status, answer.headers
    is_slowed = headers.get("x-ratelimit-remaining") == "0" or "retry-after" in headers
    if status == 429 or (status == 403 and is_slowed):
        return Failure(f"{provider.name} is limiting requests")
    if status in provider.refusals:
        return Failure(provider.refusals[status], replaces=True)
    if status >= 500:
        return Failure(f"{provider.name} is not available right now")
    return None if status == 200 and isinstance(answer.document, dict) else provider.unreadable


def questioner(provider, key, origin, is_local, run_limit):
    """A function from a path to the JSON object that is there; it raises a Failure."""
    opener = plain_opener(is_local)
    headers = {"Accept": "application/json", "User-Agent": USER_AGENT, **provider.headers,
               "Authorization": provider.key_prefix + key}

    def ask(path):
        request = urllib.request.Request(origin + path, headers=headers)
        try:
            answer = fetch(opener, request, min(ONE_OPERATION, run_limit))
        except OSError as error:
            if isinstance(getattr(error, "reason", error), ssl.SSLCertVerificationError):
                raise Failure(f"Can't verify {provider.name}'s certificate") from None
            raise provider.unreachable from None
        except http.client.HTTPException:
            raise provider.unreadable from None
        failure = provider.known_failure(answer.document) or refusal(provider, answer)
        if failure:
            raise failure
        return answer.document

    return ask


# The run


def outcomes(provider, from_input, run_limit, now):
    """A generator that does all the work; the last outcome counts."""
    if sys.version_info < (3, 9):
        raise Failure("Python 3.9 or newer is needed")
    origin, is_local = origin_of(provider)
    key = provider_key(provider, from_input, run_limit)
    yield from provider.read(questioner(provider, key, origin, is_local, run_limit), provider, now)


def last_outcome(provider, steps, run_limit):
    """The last of `steps`, or how they failed; what is known by then when time is up.

    In a thread of its own, which is left behind: neither looking up a name nor a server that sends
    a byte at a time can be stopped otherwise.
    """
    known = [provider.unreachable.outcome]

    def work():
        try:
            for outcome in steps:
                known.append(outcome)
        except Failure as failure:
            known.append(failure.outcome)
        except Exception:  # never a traceback: it could show the key
            known.append(provider.unreadable.outcome)

    thread = threading.Thread(target=work, daemon=True)
    thread.start()
    thread.join(run_limit)
    return known[-1]


def run_limit_seconds():
    """Never longer than what the application waits for."""
    shorter = amount(os.environ.get("VEXLO_TIMEOUT", ""))
    return shorter if shorter is not None and 0 < shorter < WHOLE_RUN else WHOLE_RUN


def snapshot_text(outcome, now):
    document = {"observed_at": int(now), "windows": outcome.windows}
    if outcome.error:
        document["error"] = outcome.error
    return (json.dumps(document, allow_nan=False) + "\n").encode("ascii")


def support_folder():
    """The application's folder: what it says, else the rule that it goes by itself."""
    told = os.environ.get("VEXLO_SUPPORT_DIR", "")
    data = os.environ.get("XDG_DATA_HOME", "")
    if os.path.isabs(told):
        return told
    base = data if os.path.isabs(data) else os.path.expanduser("~/.local/share")
    return os.path.join(base, "Gridwell")


def holds_window(path):
    """Whether the snapshot at `path` has limits to show."""
    if not os.path.isfile(path):
        return False
    try:
        with open(path, "rb") as file:
            document = parsed(file.read(LARGEST_ANSWER + 1))
    except OSError:
        return False
    windows = document.get("windows") if isinstance(document, dict) else None
    return isinstance(windows, list) and any(
        isinstance(window, dict) and number(window.get("used_percent")) is not None
        for window in windows
    )


def replace_file(path, contents):
    """Writes `contents` whole, for the user's eyes alone; OSError leaves everything as it was."""
    folder = os.path.dirname(path)
    os.makedirs(folder, mode=0o700, exist_ok=True)
    handle, temporary = tempfile.mkstemp(prefix=".vexlo-", suffix=".tmp", dir=folder)
    try:
        with open(handle, "wb") as file:
            file.write(contents)
        os.replace(temporary, path)
    except OSError:
        os.unlink(temporary)
        raise


def report(outcome, file, now):
    """Prints the outcome and keeps the snapshot file current, as far as either can be written."""
    text = snapshot_text(outcome, now)
    with contextlib.suppress(OSError):
        os.write(1, text)
    # A symbolic link stays one: the file that it names is replaced.
    path = os.path.realpath(os.path.join(support_folder(), file))
    # Limits known from before beat the news that they could not be read.
    if outcome.windows or outcome.replaces or not holds_window(path):
        with contextlib.suppress(OSError):
            replace_file(path, text)


def main(arguments):
    """The exit status; the caller leaves without waiting for threads."""
    sys.excepthook = threading.excepthook = lambda *details: None
    now = time.time()
    provider = PROVIDERS.get(arguments[0]) if arguments else None
    if provider is None or arguments[1:] not in ([], ["--key-stdin"]):
        os.write(1, snapshot_text(Outcome([], "No usage source available yet"), now))
        return 2
    run_limit = run_limit_seconds()
    steps = outcomes(provider, "--key-stdin" in arguments, run_limit, now)
    report(last_outcome(provider, steps, run_limit), provider.file, now)
    return 0


if __name__ == "__main__":
    os._exit(main(sys.argv[1:]))
