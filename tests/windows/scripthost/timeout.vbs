'@ --timeout 1
'> before
'! timeout.vbs: not done in time, ended
'= 124
WScript.Echo "before"
Do
Loop
