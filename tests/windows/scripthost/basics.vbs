'$ یک "two words"
'> 1 2.5 -1 null
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
Dim dictionary
WScript.Echo 1, 2.5, True, Null
WScript.Echo WScript.Arguments.Count, wscript.ARGUMENTS.length, WScript.Arguments(0), _
  WScript.Arguments.Item(1)
WScript.Echo WScript.ScriptName
If Right(WScript.ScriptFullName, 11) <> "\basics.vbs" Then WScript.Echo WScript.ScriptFullName
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
WScript.Quit 7  ' no error that could be passed over
WScript.Echo "not reached"
