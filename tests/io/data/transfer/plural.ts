<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
<message><source>Sample Editor</source><comment>101</comment><translation>Ja</translation></message>
<message numerus="yes"><source>%n files</source><comment>IDS_FILES</comment></message></context></TS>
