# An address of the loopback network that nobody else uses while this process runs, so that programs can have their
# documented ports there: the process id is in it. For `source`.
# shellcheck shell=bash
own_address="127.$((64 + ($$ >> 16 & 63))).$(($$ >> 8 & 255)).$(($$ & 255))"
