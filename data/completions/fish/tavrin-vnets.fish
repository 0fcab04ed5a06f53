# SPDX-License-Identifier: GPL-2.0-or-later
# Completion for tavrin-vnets(8) in fish.

function __tavrin_vnets_networks
    set -l named (commandline -opc)
    for line in (tavrin-vnets list 2>/dev/null)
        set -l network (string split --max 1 ' ' -- $line)[1]
        if string match -q 'tvnet*' -- $network; and not contains -- $network $named
            echo $network
        end
    end
end

set -l commands init list status start stop restart check export apply leases log doctor
set -l lookers status start stop restart leases doctor
set -l first "not __fish_seen_subcommand_from $commands"

complete -c tavrin-vnets -f
complete -c tavrin-vnets -n $first -a init -d 'Make the database with three networks'
complete -c tavrin-vnets -n $first -a list -d 'List the networks of the database'
complete -c tavrin-vnets -n $first -a status -d 'Tell how networks stand on this host'
complete -c tavrin-vnets -n $first -a start -d 'Bring this host in line with the database'
complete -c tavrin-vnets -n $first -a stop -d 'Stop networks on this host'
complete -c tavrin-vnets -n $first -a restart -d 'Stop and start networks'
complete -c tavrin-vnets -n $first -a check -d 'Read the database and judge it'
complete -c tavrin-vnets -n $first -a export -d 'Print all networks as a JSON document'
complete -c tavrin-vnets -n $first -a apply -d 'Make database and host what a document says'
complete -c tavrin-vnets -n $first -a leases -d 'List the addresses that guests were leased'
complete -c tavrin-vnets -n $first -a log -d 'Print what the journal has of these networks'
complete -c tavrin-vnets -n $first -a doctor -d 'Tell why guests have no network'
complete -c tavrin-vnets -n $first -s h -l help -d 'Show help'
complete -c tavrin-vnets -n $first -l version -d 'Show the version'
complete -c tavrin-vnets -n "__fish_seen_subcommand_from $commands" -l json -d 'Print JSON'
complete -c tavrin-vnets -n "__fish_seen_subcommand_from $lookers" -a '(__tavrin_vnets_networks)' -d Network
complete -c tavrin-vnets -n '__fish_seen_subcommand_from apply' -F
complete -c tavrin-vnets -n '__fish_seen_subcommand_from apply' -l dry-run -d 'Only tell what would change'
complete -c tavrin-vnets -n '__fish_seen_subcommand_from log' -x -s n -l lines -d 'The last lines'
complete -c tavrin-vnets -n '__fish_seen_subcommand_from log' -x -l since -d 'From a time on'
