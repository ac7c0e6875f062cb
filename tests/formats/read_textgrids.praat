# For each TextGrid 0, 1, 2 ... in a folder, print its end, then its intervals: start, end, label.
form Files
  sentence Folder
  integer Count
endform
for k from 0 to count - 1
  Read from file: folder$ + "/" + string$ (k)
  end = Get end time
  appendInfoLine: "file", newline$, fixed$ (end, 3)
  n = Get number of intervals: 1
  for i to n
    start = Get start time of interval: 1, i
    end = Get end time of interval: 1, i
    label$ = Get label of interval: 1, i
    appendInfoLine: fixed$ (start, 3), tab$, fixed$ (end, 3), tab$, label$
  endfor
endfor
