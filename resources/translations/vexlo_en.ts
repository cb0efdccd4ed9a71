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
</TS>
