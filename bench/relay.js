// Does for a print job what the program does, in few lines and without a window or a log: what the program's throughput
// and memory are measured against. Usage: node relay.js CLOUD JOURNAL_FOLDER PORT=SERIAL...
'use strict';
const fs = require('fs');
const http = require('http');
const net = require('net');

const [cloud, journals, ...printers] = process.argv.slice(2);
const answerTimeout = 15000; // ms
const pollInterval = 1000; // ms
const busyRetryInterval = 1000; // ms
const headers = { 'Content-Type': 'application/json;charset=UTF-8' };

// Calls done(error, the "data" of the answer) once.
function ask(path, options, body, done) {
    http.request(cloud + path, options, (answer) => {
        const parts = [];
        answer.on('data', (part) => parts.push(part));
        answer.on('end', () => done(answer.statusCode >= 400, JSON.parse(Buffer.concat(parts)).data));
    }).on('error', done).end(body);
}

function serve(port, serial) {
    let busy = false;
    let pending = null; // the latest connection that came while a job was under way
    let retry = null;

    function end(status, size) {
        busy = false;
        const time = new Date().toTimeString().slice(0, 8);
        fs.appendFileSync(`${journals}/${serial}.txt`, `job;${time};${status};${size};${time}!+!`);
    }

    function follow(veltraId, size) {
        let asking = false;
        const timer = setInterval(() => {
            if (asking) return;
            asking = true;
            ask(`/v1.1/printResult?veltraId=${veltraId}`, {}, undefined, (error, data) => {
                asking = false;
                const status = error ? '打印失败:网络访问异常' : data[serial] ?? data;
                if (!error && status.includes('正在打印')) return;
                clearInterval(timer);
                end(status, size);
            });
        }, pollInterval);
    }

    function submit(job) {
        const body = JSON.stringify({ async: true, dataType: 'base64', dsNumber: [serial],
            printData: job.toString('base64'), taskPersist: false });
        const options = { method: 'POST', headers, signal: AbortSignal.timeout(answerTimeout) };
        ask('/v1.1/transparentPrinting', options, body, (error, data) =>
            error ? end('打印失败:网络访问异常', job.length) : follow(data.veltraId, job.length));
    }

    function relay(socket) {
        busy = true;
        const parts = [];
        socket.on('data', (part) => parts.push(part)).on('close', () => submit(Buffer.concat(parts))).resume();
    }

    net.createServer({ pauseOnConnect: true }, (socket) => {
        socket.on('error', () => {});
        if (!busy) return relay(socket);
        pending?.destroy();
        pending = socket;
        retry ??= setInterval(() => {
            if (busy) return;
            clearInterval(retry);
            relay(pending);
            pending = retry = null;
        }, busyRetryInterval);
    }).listen(port, '127.0.0.1');
}

for (const printer of printers) serve(...printer.split('='));
