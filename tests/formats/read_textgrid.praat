# Print the end of a TextGrid, then its intervals: start, end, label.
form List
  sentence File
endform
Read from file: file$
end = Get end time
appendInfoLine: fixed$ (end, 3)
n = Get number of intervals: 1
for i to n
  start = Get start time of interval: 1, i
  end = Get end time of interval: 1, i
  label$ = Get label of interval: 1, i
  appendInfoLine: fixed$ (start, 3), tab$, fixed$ (end, 3), tab$, label$
endfor
