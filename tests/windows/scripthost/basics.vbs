'$ یک "two words"
'> سلام 1 2.5 -1 null
'> یک/two words/
'> 2 2 یک two words
'> basics.vbs
'> 1 5
'> 9
'> -1 -1
'> the object declares no events
'> 438
'> part whole
'! to standard error
'= 7
Option Explicit
Dim item, line, before, dictionary
WScript.Echo "سلام", 1, 2.5, True, Null
For Each item In WScript.Arguments
  line = line & item & "/"
Next
WScript.Echo line
WScript.Echo WScript.Arguments.Count, wscript.ARGUMENTS.length, WScript.Arguments(0), _
  WScript.Arguments.Item(1)
WScript.Echo WScript.ScriptName
If Right(WScript.ScriptFullName, 11) <> "\basics.vbs" Then WScript.Echo WScript.ScriptFullName
before = Timer
WScript.Sleep 200
If Timer - before < 0.19 Then WScript.Echo "slept", Timer - before
Set dictionary = WScript.CreateObject("Scripting.Dictionary")
dictionary.Add "کلید", 5
WScript.Echo dictionary.Count, dictionary("کلید")
On Error Resume Next
WScript.Arguments(2)
WScript.Echo Err.Number
WScript.CreateObject "No.Such"
WScript.Echo Err.Number < 0, InStr(Err.Description, """No.Such""") > 0
WScript.ConnectObject dictionary, "D_"
WScript.Echo Err.Description
WScript.NoSuch
WScript.Echo Err.Number
WScript.StdOut.Write "part "
WScript.StdOut.WriteLine "whole"
WScript.StdErr.WriteLine "to standard error"
' Quit is no error that could be passed over.
Sub Leave(code)
  WScript.Quit code
  WScript.Echo "not reached"
End Sub
Leave 7
WScript.Echo "not reached"
