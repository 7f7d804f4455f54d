'! event-argument.vbs(0, 0): Source_Change: argument 4 cannot take *: Overflow (0x8002000A)
'= 2
Sub Source_Change(number, yes, text, octet, any)
  octet = 300
End Sub
Set source = WScript.CreateObject("Cronvel.TestSource", "Source_")
source.Change
WScript.Echo "not reached"
