<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1">
<context>
<message><source>a<byte value="x0"/>b</source><comment>5</comment></message></context></TS>
