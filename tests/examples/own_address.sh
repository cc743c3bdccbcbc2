# An address of the loopback network that nobody else uses while this process runs, so that programs can have their
# documented ports there: the process id is in it. For `source`.
# shellcheck shell=bash disable=SC2034 # used where this is sourced
own_address="127.$((64 + ($$ >> 16 & 63))).$(($$ >> 8 & 255)).$(($$ & 255))"
