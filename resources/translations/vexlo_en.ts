<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- English: singular forms, and the words for what another system calls differently. -->
<TS version="2.1" language="en_US" sourcelanguage="en_US">
<context>
    <name>ClaudeSetup</name>
    <message>
        <source>The Claude bridge is missing from Vexlo.app. Reinstall Vexlo.</source>
        <translation>The Claude bridge is missing from Vexlo&apos;s program files. Reinstall Vexlo.</translation>
    </message>
</context>
<context>
    <name>UsageTexts</name>
    <message numerus="yes">
        <source>%n min. ago</source>
        <translation><numerusform>%n min. ago</numerusform><numerusform>%n min. ago</numerusform></translation>
    </message>
    <message numerus="yes">
        <source>in %n min.</source>
        <translation><numerusform>in %n min.</numerusform><numerusform>in %n min.</numerusform></translation>
    </message>
    <message numerus="yes">
        <source>%n hr. ago</source>
        <translation><numerusform>%n hr. ago</numerusform><numerusform>%n hr. ago</numerusform></translation>
    </message>
    <message numerus="yes">
        <source>in %n hr.</source>
        <translation><numerusform>in %n hr.</numerusform><numerusform>in %n hr.</numerusform></translation>
    </message>
    <message numerus="yes">
        <source>%n days ago</source>
        <translation><numerusform>%n day ago</numerusform><numerusform>%n days ago</numerusform></translation>
    </message>
    <message numerus="yes">
        <source>in %n days</source>
        <translation><numerusform>in %n day</numerusform><numerusform>in %n days</numerusform></translation>
    </message>
</context>
<context>
    <name>AboutPane</name>
    <message>
        <source>
AI allowance and Mac health monitor.
Local-first. No analytics.</source>
        <translation>
AI allowance and system health monitor.
Local-first. No analytics.</translation>
    </message>
    <message>
        <source>Opens a Mail draft with your Vexlo and macOS versions</source>
        <translation>Opens a mail draft with your Vexlo and system versions</translation>
    </message>
    <message>
        <source>Opens the folder where macOS saves reports when an app quits unexpectedly</source>
        <translation>Opens the folder where Vexlo saves a report when it quits unexpectedly</translation>
    </message>
</context>
<context>
    <name>CalendarSource</name>
    <message>
        <source>Turn on Calendar access for Vexlo in System Settings</source>
        <translation>No calendar found. Add one in your calendar app, or an .ics file in ~/.calendars.</translation>
    </message>
</context>
<context>
    <name>CharacterSpeech</name>
    <message numerus="yes">
        <source>Free for about %n hours. Nice.</source>
        <translation><numerusform>Free for about %n hour. Nice.</numerusform><numerusform>Free for about %n hours. Nice.</numerusform></translation>
    </message>
</context>
<context>
    <name>CharacterTargets</name>
    <message>
        <source>Menu Bar</source>
        <translation>Status bar</translation>
    </message>
</context>
<context>
    <name>ClipboardShelfView</name>
    <message>
        <source>Nothing yet. Copy with ⌘C, or drop files and images here.</source>
        <translation>Nothing yet. Copy with Ctrl+C, or drop files and images here.</translation>
    </message>
    <message numerus="yes">
        <source>Keep the last %n things you copy for 24 hours</source>
        <translation><numerusform>Keep the last %n things you copy for 24 hours</numerusform><numerusform>Keep the last %n things you copy for 24 hours</numerusform></translation>
    </message>
    <message numerus="yes">
        <source>Drop files and images here, or turn on to keep the last %n things you copy for 24 hours. Copies from password managers are skipped, and everything stays on this Mac.</source>
        <translation><numerusform>Drop files and images here, or turn on to keep the last %n things you copy for 24 hours. Copies from password managers are skipped, and everything stays on this computer.</numerusform><numerusform>Drop files and images here, or turn on to keep the last %n things you copy for 24 hours. Copies from password managers are skipped, and everything stays on this computer.</numerusform></translation>
    </message>
    <message numerus="yes">
        <source>This removes %n saved copies. Original files and the current clipboard stay unchanged.</source>
        <translation><numerusform>This removes %n saved copy. Original files and the current clipboard stay unchanged.</numerusform><numerusform>This removes %n saved copies. Original files and the current clipboard stay unchanged.</numerusform></translation>
    </message>
</context>
<context>
    <name>GeneralPane</name>
    <message>
        <source>Open Vexlo when you sign in to your Mac</source>
        <translation>Open Vexlo when you sign in to your computer</translation>
    </message>
    <message>
        <source>Stats stay on this Mac. Temperature uses the battery sensor.</source>
        <translation>Stats stay on this computer. Temperature uses the battery sensor.</translation>
    </message>
</context>
<context>
    <name>NotesCardView</name>
    <message>
        <source>Nothing yet. Notes stay on this Mac.</source>
        <translation>Nothing yet. Notes stay on this computer.</translation>
    </message>
    <message numerus="yes">
        <source>%n tasks removed</source>
        <translation><numerusform>%n task removed</numerusform><numerusform>%n tasks removed</numerusform></translation>
    </message>
</context>
<context>
    <name>WelcomeView</name>
    <message>
        <source>A pixel buddy for your day, your Mac, and your AI limits.</source>
        <translation>A pixel buddy for your day, your computer, and your AI limits.</translation>
    </message>
    <message>
        <source>Pick your menu bar buddy</source>
        <translation>Pick your status bar buddy</translation>
    </message>
</context>
</TS>
