'> before
'! runtime-error.vbs(8, 3): maker: پیام (0x800A03E8)
'= 2
Option Explicit
Sub Fails
  Dim x
  x = 1
  Err.Raise 1000, "maker", "پیام"
  WScript.Echo "not reached"
End Sub
WScript.Echo "before"
Fails
WScript.Echo "not reached"
