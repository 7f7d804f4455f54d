' Shows the live events of a terminal for some seconds. For example
'
'   cscript //nologo monitor.vbs 3 12 60
'   cscript //nologo monitor.vbs network:8085 12 60
'
' The first argument is the number of the serial port, or the network port to which the terminal
' connects in. Needs a host with events and Sleep.
' Exit code: 0, 1 monitoring was not switched on, 2 wrong use, 3 a run-time error.
Option Explicit

Const byteArray = 8209

Dim control, host, blocks, switched

If WScript.Arguments.Count <> 3 Then
  WScript.Echo "usage: monitor.vbs PORT|network:PORT DEVICE SECONDS"
  WScript.Quit 2
End If
blocks = 0

' From here on every step is followed by a look at Err.
On Error Resume Next
Set control = WScript.CreateObject("CronvelOCX.Cronvel", "Live_")
StopIfFailed "making the control with its events"
host = ChooseLine(WScript.Arguments(0))
StopIfFailed "choosing the port"
control.DeviceNum = WScript.Arguments(1)
StopIfFailed "choosing the terminal"

' Sends the switch and waits for no answer. On the network it first waits, as long as it takes, for
' the terminal to connect in.
switched = control.SetMonitoringOnOff(host, True)
StopIfFailed "switching monitoring on"
If Not switched Then
  WScript.Echo "monitoring was not switched on"
  WScript.Quit 1
End If
WScript.Echo "monitoring is on"

WScript.Sleep 1000 * WScript.Arguments(2)  ' the events come meanwhile
StopIfFailed "waiting"

' Each switch goes over a connection of its own.
If host <> "" Then control.WinSockClose 0
control.SetMonitoringOnOff host, False
StopIfFailed "switching monitoring off"
WScript.Echo "monitoring is off; blocks received: " & blocks
WScript.Quit 0

' From the serial line.
Sub Live_DataReceivedForMonitoring(mRStr, DataLen)
  Show "serial line", mRStr, DataLen
End Sub

' From the network.
Sub Live_WinSockDataReceived(ReceivedData, DataLen, RemoteHost, RemoteHostIP, LoopCounter, _
    FunctionCallCounter)
  Show RemoteHostIP, ReceivedData, DataLen
End Sub

Sub Live_WinSockError(number, Description, Scode, Source, HelpFile, HelpContext, CancelDisplay)
  WScript.Echo "socket error " & number & ": " & Description
End Sub

Sub Show(from, data, count)
  Dim i, line
  For i = 0 To count - 1
    line = line & " " & Right("0" & Hex(ByteAt(data, i)), 2)
  Next
  blocks = blocks + 1
  WScript.Echo from & ":" & line
End Sub

' Some hosts pass the array of bytes as it is, whose elements a script can only reach as the bytes
' of a text; others make an array of variants of it.
Function ByteAt(data, index)
  If VarType(data) = byteArray Then
    ByteAt = AscB(MidB(data, index + 1, 1))
  Else
    ByteAt = data(index)
  End If
End Function

' Returns what a command takes as its first argument: nothing for the serial line, any text for the
' network.
Function ChooseLine(text)
  If LCase(Left(text, 8)) <> "network:" Then
    control.CommPort = text
    ChooseLine = ""
  Else
    ' Monitoring listens on the port that socket 0 has.
    control.SetWinSockLocalPort 0, Mid(text, 9)
    ChooseLine = "terminal"
  End If
End Function

Sub StopIfFailed(what)
  If Err.Number = 0 Then Exit Sub
  WScript.Echo what & ": error " & Err.Number & ": " & Err.Description & " (" & Err.Source & ")"
  WScript.Quit 3
End Sub
